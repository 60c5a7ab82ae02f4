// A BSON document as JSON.
#ifndef LUTC_CLI_COMMANDS_DOCUMENT_JSON_H
#define LUTC_CLI_COMMANDS_DOCUMENT_JSON_H

#include <cstdint>

namespace lutc_cli {

// Prints a valid message in MongoDB's relaxed Extended JSON, version 2, on one line. It is read from the bytes, so
// that everything in it is printed: repeated keys, undefined, min and max key. Bytes that are no UTF-8 become U+FFFD.
// A document, embedded or not, ends at an unknown type byte.
void print_document_json(const unsigned char* bytes, std::uint32_t size);

}  // namespace lutc_cli

#endif

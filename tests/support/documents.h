// Documents as text, so that tests can say what is sent and received in one line:
//
//   {'name':'a string','n':1,'x':1.0,'on':true,'none':null,'list':[1,'two'],'doc':{},'bytes':'hex:01FF'}
//
// Numbers with a point are doubles, others int32. Going from a document to text keeps repeated keys, and shows array
// keys that aren't the index, and kinds that the text can't say, as <...>.
#ifndef LUTC_TESTS_SUPPORT_DOCUMENTS_H
#define LUTC_TESTS_SUPPORT_DOCUMENTS_H

#include <memory>
#include <string>

#include <lutc/bsonDocument.h>

std::unique_ptr<bsonDocument> document_from(const std::string& text);
std::string text_of(const bsonDocument& document, bool isArray = false);

std::string encoded(bsonDocument& document);
std::string encoded(const std::string& text);

// The document's text, or "<invalid>".
std::string decoded(const std::string& bytes);

std::string from_hex(const std::string& hex);  // blanks are skipped
std::string to_hex(const void* bytes, std::size_t size);
inline std::string to_hex(const std::string& bytes) { return to_hex(bytes.data(), bytes.size()); }

inline const unsigned char* bytes_of(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}
inline std::uint32_t size_of(const std::string& text) { return static_cast<std::uint32_t>(text.size()); }

#endif

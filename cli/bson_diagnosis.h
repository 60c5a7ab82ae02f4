// Why bytes are no document, and where.
#ifndef LUTC_CLI_BSON_DIAGNOSIS_H
#define LUTC_CLI_BSON_DIAGNOSIS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace lutc_cli {

struct Defect {
    std::size_t position;  // in bytes from the beginning
    std::string reason;
};

// The first rule that the bytes break, in the order in which they are read; nothing when bsonDocument accepts them.
std::optional<Defect> find_defect(const unsigned char* bytes, std::size_t size);

// The first element of a well-formed document, embedded ones included, whose type byte has no meaning: decoding ends
// there.
std::optional<Defect> find_unknown_type(const unsigned char* bytes, std::size_t size);

}  // namespace lutc_cli

#endif

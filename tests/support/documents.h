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

std::unique_ptr<bsonDocument> documentFrom(const std::string& text);
std::string textOf(const bsonDocument& document, bool isArray = false);

std::string encoded(bsonDocument& document);
std::string encoded(const std::string& text);

// The document's text, or "<invalid>".
std::string decoded(const std::string& bytes);

std::string fromHex(const std::string& hex);  // blanks are skipped
std::string toHex(const void* bytes, std::size_t size);
inline std::string toHex(const std::string& bytes) { return toHex(bytes.data(), bytes.size()); }

inline const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}
inline std::uint32_t sizeOf(const std::string& text) { return static_cast<std::uint32_t>(text.size()); }

#endif

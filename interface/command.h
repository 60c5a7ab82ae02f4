// A command: its envelope, its fields, and grade components as documents.
#ifndef LUTC_INTERFACE_COMMAND_H
#define LUTC_INTERFACE_COMMAND_H

#include <memory>

#include <lutc/bsonDocument.h>
#include <lutc/lutc.h>

namespace lutc_calls {

using document_ptr = std::unique_ptr<bsonDocument>;

// A document with the envelope that every command begins with.
document_ptr new_command(const char* name);

// Each appends one element, whatever keys are there already. Strings are copied. Binaries are borrowed: the caller's
// bytes stay in place until the command has been sent. Sub-documents are handed over. An int as key is an index.
void add_element(bsonDocument& document, const char* key, int value);
void add_element(bsonDocument& document, const char* key, bool value);
void add_element(bsonDocument& document, const char* key, double value);
void add_element(bsonDocument& document, const char* key, const char* value);
void add_element(bsonDocument& document, const char* key, const unsigned char* bytes, int count);
void add_element(bsonDocument& document, const char* key, document_ptr array);
void add_element(bsonDocument& document, int index, int value);
void add_element(bsonDocument& document, int index, double value);
void add_element(bsonDocument& document, int index, document_ptr embedded);

// Appends an index unless it is 0 or less, which means that it isn't given.
void add_index(bsonDocument& document, const char* key, int index);

// A command without fields of its own.
inline void nothing_to_append(bsonDocument&) {}

// Where a list of components goes: a live grade may show a test pattern, a preset can't hold one.
enum class grade_use { live, preset };

// Whether bytes can be sent as they are given.
bool is_sendable(const unsigned char* bytes, int size);

// Whether every component has what its kind needs, and the list itself is there.
bool are_sendable(const gradeComponent* components, int count, grade_use use);

// Appends "power", "slope", "offset" and "saturation".
void add_cdl(bsonDocument& document, const cdl& values);

// Appends the component list "gradeCombo".
void add_components(bsonDocument& document, const gradeComponent* components, int count, grade_use use);

}  // namespace lutc_calls

#endif

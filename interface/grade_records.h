// Grade records as documents.
#ifndef LUTC_INTERFACE_GRADE_RECORDS_H
#define LUTC_INTERFACE_GRADE_RECORDS_H

#include <lutc/lutc.h>
#include "interface/request_channel.h"

namespace lutc {

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

}  // namespace lutc

#endif

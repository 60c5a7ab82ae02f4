// The public headers are complete and valid on their own as C++.
#include <lutc/bsonDocument.h>
#include <lutc/lutc.h>
#include <lutc/lutc.hpp>

#include <cstddef>

// The records' layouts are part of the library's binary interface.
static_assert(sizeof(cdl) == 80 && offsetof(cdl, offset) == 0 && offsetof(cdl, power) == 24 &&
              offsetof(cdl, slope) == 48 && offsetof(cdl, saturation) == 72);
static_assert(offsetof(testPattern, videoFormat) == sizeof(void*) && offsetof(testPattern, squareSize) == 2 * 8 &&
              offsetof(testPattern, fgColor) == 24 && offsetof(testPattern, bgColor) == 30);
static_assert(offsetof(gradeComponent, kind) == 0 && offsetof(gradeComponent, data) == sizeof(void*) &&
              offsetof(gradeComponent, dataSize) == 2 * sizeof(void*) &&
              offsetof(gradeComponent, typeIndex) == 2 * sizeof(void*) + 4 &&
              offsetof(gradeComponent, dataFormat) == 2 * sizeof(void*) + 8 &&
              offsetof(gradeComponent, cdlValues) == 3 * sizeof(void*) + 8 &&
              offsetof(gradeComponent, pattern) == 4 * sizeof(void*) + 8 &&
              sizeof(gradeComponent) == 5 * sizeof(void*) + 8);
static_assert(sizeof(gradeCombo) == 4 * sizeof(char*));
static_assert(offsetof(presetEntry, gradeComboIndex) == 36 && offsetof(presetEntry, gradeCombo) == 40 &&
              sizeof(presetEntry) == 40 + sizeof(gradeCombo));
static_assert(offsetof(gradeChannel, supportedGradeComboIndices) == 36 && sizeof(gradeChannel) == 52);
static_assert(offsetof(videoConnection, sourceIndex) == 4 && offsetof(videoConnection, destinationType) == 8 &&
              offsetof(videoConnection, destinationIndex) == 12 && sizeof(videoConnection) == 16);

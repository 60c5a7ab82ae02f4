// Lists of records on their way to the caller.
#ifndef LUTC_INTERFACE_RECORD_LIST_H
#define LUTC_INTERFACE_RECORD_LIST_H

#include <cstdlib>
#include <new>

#include <lutc/lutc.h>
#include "bson/wire_format.h"
#include "interface/request_channel.h"

namespace lutc {

inline void free_strings(const gradeCombo& combo) {
    for (char* const slot : combo.slots) std::free(slot);
}
inline void free_strings(const presetEntry& entry) { free_strings(entry.gradeCombo); }
inline void free_strings(const gradeChannel&) {}

// A zero-filled array of records from calloc, freed with the strings that it holds until it is released.
template <class Record>
class record_list {
  public:
    explicit record_list(std::size_t count)
        : records_(static_cast<Record*>(std::calloc(count, sizeof(Record)))), count_(count) {
        if (records_ == nullptr && count != 0) throw std::bad_alloc();
    }
    ~record_list() {
        if (records_ == nullptr) return;
        for (std::size_t i = 0; i < count_; ++i) free_strings(records_[i]);
        std::free(records_);
    }
    record_list(const record_list&) = delete;
    record_list& operator=(const record_list&) = delete;

    Record& operator[](std::size_t i) { return records_[i]; }
    int count() const { return static_cast<int>(count_); }

    Record* release() {
        Record* const records = records_;
        records_ = nullptr;
        return records;
    }

  private:
    Record* records_;
    std::size_t count_;
};

// Reads the strings of a combination into the record's slots. False when there is none or it holds anything else.
inline bool read_combo(const bsonElement* element, gradeCombo& combo) {
    const bsonDocument* const strings = get_document(element, bson_type::array);
    if (strings == nullptr) return false;
    std::size_t slot = 0;
    for (const bsonElement* const text : strings->elementList) {
        if (text->valueType != bson_type::string) return false;
        if (slot < LUTC_GRADE_COMBO_SLOTS) combo.slots[slot++] = new_text(text_of(*text));
    }
    return true;
}

}  // namespace lutc

#endif

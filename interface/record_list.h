// Lists of records on their way to the caller.
#ifndef LUTC_INTERFACE_RECORD_LIST_H
#define LUTC_INTERFACE_RECORD_LIST_H

#include <cstdlib>
#include <new>

#include <lutc/lutc.h>
#include "interface/reply.h"

namespace lutc_calls {

inline void free_strings(const gradeCombo& combo) {
    for (char* const slot : combo.slots) std::free(slot);
}
inline void free_strings(const presetEntry& entry) { free_strings(entry.gradeCombo); }
inline void free_strings(const gradeChannel&) {}

// A zero-filled array of records from calloc, freed with the strings that it holds until it is released.
template <class Record>
class record_list {
  public:
    record_list() = default;
    ~record_list() {
        for (std::size_t i = 0; i < count_; ++i) free_strings(records_[i]);
        std::free(records_);
    }
    record_list(const record_list&) = delete;
    record_list& operator=(const record_list&) = delete;

    // Fills an empty list with one record for each element. False when it holds no document, or a record can't be read.
    template <class ReadRecord>
    bool read(const element_view& element, ReadRecord read_record) {
        std::size_t count = 0;
        const auto count_one = [&](const element_view&) { return ++count != 0; };
        if (!read_each(element, count_one)) return false;
        records_ = static_cast<Record*>(std::calloc(count, sizeof(Record)));
        if (records_ == nullptr && count != 0) throw std::bad_alloc();
        count_ = count;
        Record* next = records_;
        return read_each(element, [&](const element_view& each) { return read_record(each, *next++); });
    }

    void hand_over(Record** records, int* count) {
        *count = static_cast<int>(count_);
        *records = records_;
        records_ = nullptr;
        count_ = 0;
    }

  private:
    Record* records_ = nullptr;
    std::size_t count_ = 0;
};

// Reads the strings of a combination into the record's slots. False when there is none or it holds anything else.
inline bool read_combo(const element_view& element, gradeCombo& combo) {
    std::size_t slot = 0;
    return read_each(element, [&](const element_view& each) {
        std::string_view text;
        if (!read_text(each, text)) return false;
        if (slot < LUTC_GRADE_COMBO_SLOTS) combo.slots[slot++] = new_text(text);
        return true;
    });
}

}  // namespace lutc_calls

#endif

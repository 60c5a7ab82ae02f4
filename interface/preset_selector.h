// How a preset is addressed: by name or by index.
#ifndef LUTC_INTERFACE_PRESET_SELECTOR_H
#define LUTC_INTERFACE_PRESET_SELECTOR_H

#include <cstring>

#include <lutc/lutc.h>
#include "interface/command.h"

namespace lutc_calls {

class preset_selector {
  public:
    // name may be null. lowest_index: the lowest index that is sent.
    preset_selector(const char* name, int index, int lowest_index = 1)
        : name_(name), index_(index), lowest_index_(lowest_index) {}

    bool is_sendable() const {
        return name_ == nullptr || strnlen(name_, LUTC_PRESET_NAME_SIZE + 1) <= LUTC_PRESET_NAME_SIZE;
    }

    // Appends "presetName", "presetIndex" or nothing.
    void append_to(bsonDocument& command) const {
        if (name_ != nullptr) {
            add_element(command, "presetName", name_);
        } else if (index_ >= lowest_index_) {
            add_element(command, "presetIndex", index_);
        }
    }

  private:
    const char* name_;
    int index_;
    int lowest_index_;
};

}  // namespace lutc_calls

#endif

// Between documents and the device's own types: fields read with a reason when they can't be, and grade components in
// the form that commands, replies and the media share.
#ifndef LUTC_SIMULATOR_DOCUMENTS_H
#define LUTC_SIMULATOR_DOCUMENTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <lutc/bsonDocument.h>
#include "simulator/device_state.h"

namespace simulator {

// The most bytes of a getPreset reply that a client can receive.
constexpr std::uint32_t max_preset_reply_size = 2097152;

// Reads the fields of a document by key; the first occurrence counts. A field that is there and of another kind is
// refused, and so is one that is missing, unless the result is optional.
class fields {
  public:
    // where: what the document is inside the command, such as "gradeCombo[0]."; empty for the command itself. The
    // document outlives this object.
    explicit fields(const bsonDocument& document, std::string where = {});

    bool has(const std::string& key) const { return document_.getElementWithKey(key, 0) != nullptr; }
    std::optional<std::int32_t> optional_int32(const std::string& key) const;
    std::int32_t int32(const std::string& key) const;
    std::optional<std::string> optional_string(const std::string& key) const;
    std::string string(const std::string& key, std::int32_t occurrence = 0) const;
    std::optional<bool> optional_boolean(const std::string& key) const;
    bool boolean(const std::string& key) const;
    double number(const std::string& key) const;
    std::vector<unsigned char> binary(const std::string& key) const;
    const bsonDocument& array(const std::string& key) const;
    std::array<double, 3> three_doubles(const std::string& key) const;
    std::array<std::int32_t, 3> three_colours(const std::string& key) const;  // each 0 to 65535

    // The field's name as messages give it.
    std::string name(const std::string& key) const;

  private:
    const bsonElement* find(const std::string& key, std::uint8_t kind, const char* kind_name,
                            std::int32_t occurrence = 0) const;
    const bsonElement& need(const std::string& key, std::uint8_t kind, const char* kind_name,
                            std::int32_t occurrence = 0) const;
    const std::vector<bsonElement*>& three(const std::string& key, std::uint8_t kind, const char* what) const;

    const bsonDocument& document_;
    std::string where_;
};

// The four CDL fields.
cdl_values read_cdl(const fields& from);

// The component list under "gradeCombo". Test patterns are read where with_patterns is set, else refused.
std::vector<grade_component> read_components(const fields& from, bool with_patterns);

// Appends "gradeComboIndex" and "gradeCombo": the results of getPreset, and a preset's content on the media. Every
// component has its "typeIndex", 0 when it was sent without.
void write_grade(bsonDocument& to, const preset& from);

// Refuses components that make a longer getPreset reply than a client can receive.
void check_readable(const std::vector<grade_component>& components);

// Appends a sub-document.
void add_document(bsonDocument& to, const std::string& key, std::unique_ptr<bsonDocument> child, bool is_array);

// The four first fields of every reply.
void write_reply_head(bsonDocument& to, std::int32_t code, const std::string& message);

std::vector<unsigned char> encoded(bsonDocument& document);

}  // namespace simulator

#endif

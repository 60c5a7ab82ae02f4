// Between documents and the device's own types: fields read with a reason when they can't be, and grade components in
// the form that commands, replies and the media share.
#ifndef LUTC_SIMULATOR_DOCUMENTS_H
#define LUTC_SIMULATOR_DOCUMENTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <lutc/bsonDocument.h>
#include "simulator/device/preset_library.h"

namespace simulator {

// The most bytes of a getPreset reply that a client can receive.
constexpr std::uint32_t max_preset_reply_size = 2097152;

// Reads the fields of a document by key; the first occurrence counts. A field that is there and of another kind is
// refused, and so is one that is missing, unless the result is optional. Strings are read in place.
class fields {
  public:
    struct kind {
        bson_type type;
        const char* name;
    };

    // where: what the document is inside the command, such as "gradeCombo[0]."; empty for the command itself. The
    // document outlives this object.
    explicit fields(const bsonDocument& document, std::string where = {});

    bool has(std::string_view key) const { return find_any(key, 0) != nullptr; }
    bool has_at_most(std::initializer_list<std::string_view> keys) const;  // no other field
    std::optional<std::int32_t> optional_int32(std::string_view key) const;
    std::int32_t int32(std::string_view key) const;
    // From 1 to last; noun: what is counted.
    std::optional<std::int32_t> optional_index(std::string_view key, std::size_t last, std::string_view noun) const;
    std::int32_t index(std::string_view key, std::size_t last, std::string_view noun) const;
    std::string_view string(std::string_view key, int occurrence = 0) const;
    // Of that many bytes, none of them 0; least is 0 or 1.
    std::optional<std::string_view> optional_text(std::string_view key, std::size_t least, std::size_t most) const;
    std::string_view text(std::string_view key, std::size_t least, std::size_t most) const;
    bool boolean(std::string_view key) const;
    double number(std::string_view key) const;
    std::vector<unsigned char> binary(std::string_view key) const;
    const bsonDocument& array(std::string_view key) const;
    std::array<double, 3> three_doubles(std::string_view key) const;
    std::array<std::int32_t, 3> three_colours(std::string_view key) const;  // each 0 to 65535

    // Refuses the command for a field: its name, and then what is wrong with it.
    [[noreturn]] void refuse(std::string_view key, const std::string& fault) const;

  private:
    const bsonElement* find_any(std::string_view key, int occurrence) const;
    const bsonElement* find(std::string_view key, kind wanted, int occurrence = 0) const;
    const bsonElement& need(std::string_view key, kind wanted, int occurrence = 0) const;
    const std::vector<bsonElement*>& three(std::string_view key, bson_type type, const char* noun) const;

    const bsonDocument& document_;
    std::string where_;
};

// A slot of that type.
std::optional<std::int32_t> read_slot(const fields& from, std::string_view key, std::string_view type);

std::string_view read_data_format(const fields& from);

// The four CDL fields.
cdl_values read_cdl(const fields& from);

enum class used_in { live, preset, media };

// The component list under "gradeCombo". Ignored are components without a type, in presets test patterns, and on the
// media those of a type that the device doesn't know, which a backup may have brought.
std::vector<grade_component> read_components(const fields& from, used_in use);

// Refuses components that make a longer getPreset reply than a client can receive.
void check_readable(const std::vector<grade_component>& components);

// Appends "gradeComboIndex" and "gradeCombo": the results of getPreset, and a preset's content on the media. Every
// component has its "typeIndex", 0 when it was sent without. The document borrows the components' data.
void write_grade(bsonDocument& to, std::int32_t grade_combo_index, const std::vector<grade_component>& components);

// Append a sub-document, empty, and return it; in a list it gets the next index as its key.
bsonDocument& add_array(bsonDocument& to, const std::string& key);
bsonDocument& append_document(bsonDocument& list);
std::string next_key(const bsonDocument& list);

// The four first fields of every reply.
void write_reply_head(bsonDocument& to, std::int32_t code, const std::string& message);

// The document's bytes; it is empty afterwards.
std::vector<unsigned char> encode(bsonDocument& document);

}  // namespace simulator

#endif

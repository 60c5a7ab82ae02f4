#include "simulator/documents.h"

#include <algorithm>
#include <utility>

#include "simulator/device/text.h"
#include "simulator/refusal.h"

namespace simulator {

namespace {

const fields::kind double_kind{bson_type::real, "a double"}, string_kind{bson_type::string, "a string"},
    array_kind{bson_type::array, "an array"}, binary_kind{bson_type::binary, "binary"},
    boolean_kind{bson_type::boolean, "a boolean"}, int32_kind{bson_type::int32, "an int32"};

void write_doubles(bsonDocument& to, const std::string& key, const std::array<double, 3>& values) {
    bsonDocument& list = add_array(to, key);
    for (const double value : values) list.addDoubleElement(next_key(list), value);
}

void borrow_bytes(bsonDocument& to, const std::string& key, const std::vector<unsigned char>& bytes) {
    auto element = std::make_unique<bsonElement>(key, bytes.data(), static_cast<std::uint32_t>(bytes.size()), false, 0);
    to.elementList.push_back(element.get());
    element.release();
}

void write_component(bsonDocument& to, const grade_component& from) {
    to.addInt32Element("typeIndex", from.type_index);
    to.addStringElement("type", from.type);
    if (is_ignored(from)) return;
    to.addStringElement("dataFormat", from.data_format);
    if (!from.values) return borrow_bytes(to, "data", *from.data);
    write_doubles(to, "power", from.values->power);
    write_doubles(to, "slope", from.values->slope);
    write_doubles(to, "offset", from.values->offset);
    to.addDoubleElement("saturation", from.values->saturation);
}

test_pattern read_pattern(const fields& from) {
    test_pattern pattern;
    pattern.type = from.string("patternType");
    pattern.video_format = from.int32("videoFormat");
    if (pattern.type != "square") return pattern;
    pattern.square_size = from.number("squareSize");
    pattern.foreground = from.three_colours("fgColor");
    pattern.background = from.three_colours("bgColor");
    return pattern;
}

// What keeps its place alone; nothing of it but its type and its index counts.
bool is_of_other_kind(const fields& from, used_in use) {
    if (!from.has("type")) return from.has_at_most({"typeIndex"});
    const std::string_view type = from.string("type");
    if (type == "tpg") return use != used_in::live;
    return use == used_in::media && slots_of(type) == 0 && from.has_at_most({"typeIndex", "type"});
}

grade_component read_component(const fields& from, used_in use) {
    grade_component component;
    if (is_of_other_kind(from, use)) {
        component.type = from.has("type") ? from.string("type") : other_kind;
        component.type_index = from.optional_int32("typeIndex").value_or(0);
        return component;
    }
    component.type = from.string("type");
    if (slots_of(component.type) == 0) from.refuse("type", "is " + quote(component.type) + ": no such component type");
    if (from.optional_int32("typeIndex") != 0)
        component.type_index = read_slot(from, "typeIndex", component.type).value_or(0);
    if (component.type == "tpg") {
        component.pattern = read_pattern(from);
        return component;
    }
    component.data_format = read_data_format(from);
    if (is_table(component.type) || !from.has("saturation")) {
        component.data = std::make_shared<const std::vector<unsigned char>>(from.binary("data"));
        return component;
    }
    if (from.has("data")) from.refuse("data", "stands beside CDL values: send one of them");
    component.values = read_cdl(from);
    return component;
}

// A sub-document is attached first and filled then.
bsonDocument& attach(bsonDocument& to, const std::string& key, bool is_array) {
    auto child = std::make_unique<bsonDocument>();
    to.addDocumentElement(key, child.get(), is_array);
    return *child.release();
}

}  // namespace

fields::fields(const bsonDocument& document, std::string where) : document_(document), where_(std::move(where)) {}

void fields::refuse(std::string_view key, const std::string& fault) const {
    throw refusal(reason::bad_field, '"' + where_ + std::string(key) + "\" " + fault);
}

const bsonElement* fields::find_any(std::string_view key, int occurrence) const {
    for (const bsonElement* element : document_.elementList) {
        if (element->key == key && occurrence-- == 0) return element;
    }
    return nullptr;
}

const bsonElement* fields::find(std::string_view key, kind wanted, int occurrence) const {
    const bsonElement* element = find_any(key, occurrence);
    if (element != nullptr && element->getValueType() != wanted.type) refuse(key, std::string("is not ") + wanted.name);
    return element;
}

const bsonElement& fields::need(std::string_view key, kind wanted, int occurrence) const {
    const bsonElement* element = find(key, wanted, occurrence);
    if (element == nullptr) refuse(key, "is missing");
    return *element;
}

bool fields::has_at_most(std::initializer_list<std::string_view> keys) const {
    return std::all_of(document_.elementList.begin(), document_.elementList.end(), [&](const bsonElement* element) {
        return std::find(keys.begin(), keys.end(), element->key) != keys.end();
    });
}

std::optional<std::int32_t> fields::optional_int32(std::string_view key) const {
    return find(key, int32_kind) ? std::optional(int32(key)) : std::nullopt;
}

std::int32_t fields::int32(std::string_view key) const { return need(key, int32_kind).getInt32Value(); }

std::optional<std::int32_t> fields::optional_index(std::string_view key, std::size_t last,
                                                   std::string_view noun) const {
    return has(key) ? std::optional(index(key, last, noun)) : std::nullopt;
}

std::int32_t fields::index(std::string_view key, std::size_t last, std::string_view noun) const {
    const std::int32_t value = int32(key);
    if (value >= 1 && static_cast<std::size_t>(value) <= last) return value;
    refuse(key, "is " + std::to_string(value) + ": no such " + std::string(noun) + ", they count from 1 to " +
                    std::to_string(last));
}

std::string_view fields::string(std::string_view key, int occurrence) const {
    const bsonElement& element = need(key, string_kind, occurrence);
    const std::uint32_t size = element.getValueSize();  // 0 when the message gives the string a length of 0
    return size == 0 ? std::string_view()
                     : std::string_view(reinterpret_cast<const char*>(element.getValue()), size - 1);
}

std::optional<std::string_view> fields::optional_text(std::string_view key, std::size_t least, std::size_t most) const {
    return has(key) ? std::optional(text(key, least, most)) : std::nullopt;
}

std::string_view fields::text(std::string_view key, std::size_t least, std::size_t most) const {
    const std::string_view value = string(key);
    if (value.size() < least) refuse(key, "is empty");
    if (value.size() > most)
        refuse(key, "has " + std::to_string(value.size()) + " bytes; at most " + std::to_string(most) + " are allowed");
    if (value.find('\0') != value.npos) refuse(key, "contains a zero byte");
    return value;
}

bool fields::boolean(std::string_view key) const { return need(key, boolean_kind).getBoolValue(); }

double fields::number(std::string_view key) const { return need(key, double_kind).getDoubleValue(); }

std::vector<unsigned char> fields::binary(std::string_view key) const {
    const bsonElement& element = need(key, binary_kind);
    return std::vector<unsigned char>(element.getValue(), element.getValue() + element.getValueSize());
}

const bsonDocument& fields::array(std::string_view key) const { return *need(key, array_kind).getDocumentValue(); }

const std::vector<bsonElement*>& fields::three(std::string_view key, bson_type type, const char* noun) const {
    const std::vector<bsonElement*>& elements = array(key).elementList;
    bool good = elements.size() == 3;
    for (const bsonElement* element : elements) good = good && element->getValueType() == type;
    if (!good) refuse(key, std::string("is not an array of three ") + noun);
    return elements;
}

std::array<double, 3> fields::three_doubles(std::string_view key) const {
    const auto& elements = three(key, bson_type::real, "doubles");
    return {elements[0]->getDoubleValue(), elements[1]->getDoubleValue(), elements[2]->getDoubleValue()};
}

std::array<std::int32_t, 3> fields::three_colours(std::string_view key) const {
    const auto& elements = three(key, bson_type::int32, "int32");
    const std::array<std::int32_t, 3> values{elements[0]->getInt32Value(), elements[1]->getInt32Value(),
                                             elements[2]->getInt32Value()};
    for (const std::int32_t value : values) {
        if (value < 0 || value > 65535) refuse(key, "holds " + std::to_string(value) + ", not 0 to 65535");
    }
    return values;
}

std::optional<std::int32_t> read_slot(const fields& from, std::string_view key, std::string_view type) {
    const auto slot = from.optional_int32(key);
    const std::int32_t last = slots_of(type);
    if (slot && (*slot < 1 || *slot > last))
        from.refuse(key, "is " + std::to_string(*slot) + ": slots of type " + quote(type) + " count from 1 to " +
                             std::to_string(last));
    return slot;
}

std::string_view read_data_format(const fields& from) {
    const std::string_view format = from.string("dataFormat");
    if (format.empty()) from.refuse("dataFormat", "is empty");
    return format;
}

cdl_values read_cdl(const fields& from) {
    cdl_values values;
    values.power = from.three_doubles("power");
    values.slope = from.three_doubles("slope");
    values.offset = from.three_doubles("offset");
    values.saturation = from.number("saturation");
    return values;
}

std::vector<grade_component> read_components(const fields& from, used_in use) {
    std::vector<grade_component> components;
    for (const bsonElement* element : from.array("gradeCombo").elementList) {
        const std::string where = "gradeCombo[" + std::to_string(components.size()) + "]";
        if (element->getValueType() != bson_type::document) from.refuse(where, "is not an embedded document");
        components.push_back(read_component(fields(*element->getDocumentValue(), where + "."), use));
    }
    return components;
}

void check_readable(const std::vector<grade_component>& components) {
    std::uint64_t size = 0;
    for (const grade_component& component : components) size += component.data ? component.data->size() : 0;
    if (size <= max_preset_reply_size) {  // beyond that the length may not even fit a document
        bsonDocument reply;
        write_reply_head(reply, 0, "ok");
        write_grade(reply, 1, components);
        size = reply.calculateMessageSizeFromKeyValueList();
    }
    if (size > max_preset_reply_size)
        throw refusal(reason::not_possible, "the preset needs " + std::to_string(size) +
                                                " bytes or more to be read back; at most " +
                                                std::to_string(max_preset_reply_size) + " are possible");
}

void write_grade(bsonDocument& to, std::int32_t grade_combo_index, const std::vector<grade_component>& components) {
    to.addInt32Element("gradeComboIndex", grade_combo_index);
    bsonDocument& list = add_array(to, "gradeCombo");
    for (const grade_component& component : components) write_component(append_document(list), component);
}

bsonDocument& add_array(bsonDocument& to, const std::string& key) { return attach(to, key, true); }

bsonDocument& append_document(bsonDocument& list) { return attach(list, next_key(list), false); }

std::string next_key(const bsonDocument& list) { return std::to_string(list.elementList.size()); }

void write_reply_head(bsonDocument& to, std::int32_t code, const std::string& message) {
    to.addStringElement("type", "response");
    to.addInt32Element("msgID", 1);
    to.addInt32Element("code", code);
    to.addStringElement("message", message);
}

std::vector<unsigned char> encode(bsonDocument& document) {
    document.convertElementListToMessage();
    document.clearElementList();  // embedded documents have messages of their own
    return std::vector<unsigned char>(document.message, document.message + document.messageSize);
}

}  // namespace simulator

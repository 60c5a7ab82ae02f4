#include "simulator/documents.h"

#include <utility>

#include "simulator/refusal.h"

namespace simulator {

namespace {

constexpr std::uint8_t double_kind = 0x01, string_kind = 0x02, document_kind = 0x03, array_kind = 0x04,
                       binary_kind = 0x05, boolean_kind = 0x08, int32_kind = 0x10;

void write_doubles(bsonDocument& to, const std::string& key, const std::array<double, 3>& values) {
    auto list = std::make_unique<bsonDocument>();
    for (std::size_t i = 0; i < values.size(); ++i) list->addDoubleElement(std::to_string(i), values[i]);
    add_document(to, key, std::move(list), true);
}

std::unique_ptr<bsonDocument> component_document(const grade_component& from) {
    auto to = std::make_unique<bsonDocument>();
    to->addInt32Element("typeIndex", from.type_index);
    to->addStringElement("type", from.type);
    to->addStringElement("dataFormat", from.data_format);
    if (!from.values) {
        to->addBinaryElement("data", from.data.data(), static_cast<std::uint32_t>(from.data.size()));
        return to;
    }
    write_doubles(*to, "power", from.values->power);
    write_doubles(*to, "slope", from.values->slope);
    write_doubles(*to, "offset", from.values->offset);
    to->addDoubleElement("saturation", from.values->saturation);
    return to;
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

grade_component read_component(const fields& from, bool with_patterns) {
    grade_component component;
    component.type = from.string("type");
    if (slots_of(component.type) == 0)
        throw refusal(reason::bad_field,
                      from.name("type") + " is " + quoted(component.type) + ": no such component type");
    component.type_index = from.optional_int32("typeIndex").value_or(0);
    if (component.type_index != 0) check_slot(from.name("typeIndex"), component.type_index, component.type);
    if (component.type == "tpg") {
        if (!with_patterns)
            throw refusal(reason::bad_field, from.name("type") + " is \"tpg\": a preset can't hold a test pattern");
        component.pattern = read_pattern(from);
        return component;
    }
    component.data_format = from.string("dataFormat");
    if (component.data_format.empty()) throw refusal(reason::bad_field, from.name("dataFormat") + " is empty");
    const bool is_lut = component.type == "1dlut" || component.type == "3dlut";
    const bool has_values = !is_lut && from.has("saturation");
    if (has_values && from.has("data"))
        throw refusal(reason::bad_field, from.name("data") + " stands beside CDL values: send one of them");
    if (has_values) {
        component.values = read_cdl(from);
    } else {
        component.data = from.binary("data");
    }
    return component;
}

}  // namespace

fields::fields(const bsonDocument& document, std::string where) : document_(document), where_(std::move(where)) {}

std::string fields::name(const std::string& key) const { return "\"" + where_ + key + "\""; }

const bsonElement* fields::find(const std::string& key, std::uint8_t kind, const char* kind_name,
                                std::int32_t occurrence) const {
    const bsonElement* element = document_.getElementWithKey(key, occurrence);
    if (element != nullptr && element->getValueType() != kind)
        throw refusal(reason::bad_field, name(key) + " is not " + kind_name);
    return element;
}

const bsonElement& fields::need(const std::string& key, std::uint8_t kind, const char* kind_name,
                                std::int32_t occurrence) const {
    const bsonElement* element = find(key, kind, kind_name, occurrence);
    if (element == nullptr) throw refusal(reason::bad_field, name(key) + " is missing");
    return *element;
}

std::optional<std::int32_t> fields::optional_int32(const std::string& key) const {
    const bsonElement* element = find(key, int32_kind, "an int32");
    return element ? std::optional<std::int32_t>(element->getInt32Value()) : std::nullopt;
}

std::int32_t fields::int32(const std::string& key) const { return need(key, int32_kind, "an int32").getInt32Value(); }

std::optional<std::string> fields::optional_string(const std::string& key) const {
    const bsonElement* element = find(key, string_kind, "a string");
    return element ? std::optional<std::string>(element->getStringValue()) : std::nullopt;
}

std::string fields::string(const std::string& key, std::int32_t occurrence) const {
    return need(key, string_kind, "a string", occurrence).getStringValue();
}

std::optional<bool> fields::optional_boolean(const std::string& key) const {
    const bsonElement* element = find(key, boolean_kind, "a boolean");
    return element ? std::optional<bool>(element->getBoolValue()) : std::nullopt;
}

bool fields::boolean(const std::string& key) const { return need(key, boolean_kind, "a boolean").getBoolValue(); }

double fields::number(const std::string& key) const { return need(key, double_kind, "a double").getDoubleValue(); }

std::vector<unsigned char> fields::binary(const std::string& key) const {
    const bsonElement& element = need(key, binary_kind, "binary");
    if (element.getValueSize() == 0) return {};
    return std::vector<unsigned char>(element.getValue(), element.getValue() + element.getValueSize());
}

const bsonDocument& fields::array(const std::string& key) const {
    return *need(key, array_kind, "an array").getDocumentValue();
}

const std::vector<bsonElement*>& fields::three(const std::string& key, std::uint8_t kind, const char* what) const {
    const std::vector<bsonElement*>& elements = array(key).elementList;
    bool good = elements.size() == 3;
    for (const bsonElement* element : elements) good = good && element->getValueType() == kind;
    if (!good) throw refusal(reason::bad_field, name(key) + " is not an array of three " + what);
    return elements;
}

std::array<double, 3> fields::three_doubles(const std::string& key) const {
    const auto& elements = three(key, double_kind, "doubles");
    return {elements[0]->getDoubleValue(), elements[1]->getDoubleValue(), elements[2]->getDoubleValue()};
}

std::array<std::int32_t, 3> fields::three_colours(const std::string& key) const {
    const auto& elements = three(key, int32_kind, "int32");
    const std::array<std::int32_t, 3> values{elements[0]->getInt32Value(), elements[1]->getInt32Value(),
                                             elements[2]->getInt32Value()};
    for (const std::int32_t value : values)
        if (value < 0 || value > 65535)
            throw refusal(reason::bad_field, name(key) + " holds " + std::to_string(value) + ", not 0 to 65535");
    return values;
}

cdl_values read_cdl(const fields& from) {
    cdl_values values;
    values.power = from.three_doubles("power");
    values.slope = from.three_doubles("slope");
    values.offset = from.three_doubles("offset");
    values.saturation = from.number("saturation");
    return values;
}

std::vector<grade_component> read_components(const fields& from, bool with_patterns) {
    std::vector<grade_component> components;
    for (const bsonElement* element : from.array("gradeCombo").elementList) {
        const std::string where = "gradeCombo[" + std::to_string(components.size()) + "]";
        if (element->getValueType() != document_kind)
            throw refusal(reason::bad_field, "\"" + where + "\" is not an embedded document");
        components.push_back(read_component(fields(*element->getDocumentValue(), where + "."), with_patterns));
    }
    return components;
}

void write_grade(bsonDocument& to, const preset& from) {
    to.addInt32Element("gradeComboIndex", from.grade_combo_index);
    auto list = std::make_unique<bsonDocument>();
    for (std::size_t i = 0; i < from.components.size(); ++i)
        add_document(*list, std::to_string(i), component_document(from.components[i]), false);
    add_document(to, "gradeCombo", std::move(list), true);
}

void check_readable(const std::vector<grade_component>& components) {
    std::uint64_t size = 0;
    for (const grade_component& component : components) size += component.data.size();
    if (size <= max_preset_reply_size) {
        bsonDocument reply;
        write_reply_head(reply, 0, "ok");
        preset sample;
        sample.components = components;
        write_grade(reply, sample);
        size = reply.calculateMessageSizeFromKeyValueList();
    }
    if (size > max_preset_reply_size)
        throw refusal(reason::not_possible, "the preset needs " + std::to_string(size) +
                                                " bytes or more to be read back; at most " +
                                                std::to_string(max_preset_reply_size) + " are possible");
}

void add_document(bsonDocument& to, const std::string& key, std::unique_ptr<bsonDocument> child, bool is_array) {
    to.addDocumentElement(key, child.get(), is_array);
    child.release();
}

void write_reply_head(bsonDocument& to, std::int32_t code, const std::string& message) {
    to.addStringElement("type", std::string("response"));
    to.addInt32Element("msgID", 1);
    to.addInt32Element("code", code);
    to.addStringElement("message", message);
}

std::vector<unsigned char> encoded(bsonDocument& document) {
    document.convertElementListToMessage();
    return std::vector<unsigned char>(document.message, document.message + document.messageSize);
}

}  // namespace simulator

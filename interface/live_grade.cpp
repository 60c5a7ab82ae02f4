#include <lutc/lutc.h>
#include "interface/call.h"

using namespace lutc_calls;

int lutc_send_combination(int channelIndex, bool resetAndApply, int gradeComboIndex) noexcept {
    return call("sendGradeCombo", [&](bsonDocument& command) {
        add_index(command, "channelIndex", channelIndex);
        add_element(command, "resetAndApply", resetAndApply);
        add_element(command, "gradeComboIndex", gradeComboIndex);
    });
}

int lutc_send_lut(int channelIndex, int lutIndex, bool resetAndApply, const char* type, const char* dataFormat,
                  unsigned char* data, int dataSize) noexcept {
    if (type == nullptr || dataFormat == nullptr || !is_sendable(data, dataSize)) return refuse();
    return call("sendLut", [&](bsonDocument& command) {
        add_index(command, "channelIndex", channelIndex);
        add_element(command, "resetAndApply", resetAndApply);
        add_index(command, "lutIndex", lutIndex);
        add_element(command, "type", type);
        add_element(command, "dataFormat", dataFormat);
        add_element(command, "data", data, dataSize);
    });
}

int lutc_send_cdl(int channelIndex, int cdlIndex, bool resetAndApply, const cdl* cdlValues) noexcept {
    if (cdlValues == nullptr) return refuse();
    return call("sendCDL", [&](bsonDocument& command) {
        add_index(command, "channelIndex", channelIndex);
        add_element(command, "resetAndApply", resetAndApply);
        add_index(command, "cdlIndex", cdlIndex);
        add_cdl(command, *cdlValues);
    });
}

int lutc_send_saturation(int channelIndex, int saturationIndex, bool resetAndApply, double saturation) noexcept {
    return call("sendSaturation", [&](bsonDocument& command) {
        add_index(command, "channelIndex", channelIndex);
        add_element(command, "resetAndApply", resetAndApply);
        add_index(command, "saturationIndex", saturationIndex);
        add_element(command, "saturation", saturation);
    });
}

int lutc_send_live(int channelIndex, int gradeComboIndex, bool resetAndApply, const gradeComponent* components,
                   int componentCount) noexcept {
    if (!are_sendable(components, componentCount, grade_use::live)) return refuse();
    return call("sendLive", [&](bsonDocument& command) {
        add_index(command, "channelIndex", channelIndex);
        add_index(command, "gradeComboIndex", gradeComboIndex);
        add_element(command, "resetAndApply", resetAndApply);
        add_components(command, components, componentCount, grade_use::live);
    });
}

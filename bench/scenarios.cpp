#include "bench/scenarios.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <thread>

#include <lutc/bsonDocument.h>
#include <lutc/lutc.h>
#include "interface/request_channel.h"
#include <lutc/qv_rpc_client.h>

namespace lutc_bench {
namespace {

void freePresets(presetEntry* presets, int count) {
    for (int i = 0; i < count; ++i) {
        for (char* const slot : presets[i].gradeCombo.slots) std::free(slot);
    }
    std::free(presets);
}

bool listPresets() {
    presetEntry* presets = nullptr;
    int count = 0;
    int maximum = 0;
    if (lutc_preset_list(&presets, &count, &maximum) != 0) return false;
    freePresets(presets, count);
    return count == static_cast<int>(listedPresets);
}

bool receivePreset() {
    gradeComponent components[componentCount] = {};
    int count = componentCount;
    int comboIndex = 0;
    if (lutc_recv_preset("Scene 0001", 0, &comboIndex, components, &count) != 0) return false;
    for (const gradeComponent& component : components) {
        std::free(component.data);
        std::free(component.dataFormat);
        std::free(component.cdlValues);
    }
    return count == static_cast<int>(componentCount);
}

// A preset as a caller holds it, the same as preset() is.
class held_preset {
  public:
    held_preset() {
        components_[0] = tableOf(LUTC_KIND_LUT_3D, table_, 1);
        components_[1].kind = LUTC_KIND_CDL;
        components_[1].cdlValues = &values_;
        components_[1].typeIndex = 1;
        components_[2] = tableOf(LUTC_KIND_LUT_1D, curve_, 1);
        components_[3] = tableOf(LUTC_KIND_LUT_3D, table_, 2);
    }
    held_preset(const held_preset&) = delete;
    held_preset& operator=(const held_preset&) = delete;

    bool send() const { return lutc_send_preset("Scene 0001", 0, 0, 3, false, 0, components_, componentCount) == 0; }

  private:
    gradeComponent tableOf(int kind, bytes& data, int typeIndex) {
        return {kind, data.data(), static_cast<int>(data.size()), typeIndex, format_, nullptr, nullptr};
    }

    bytes table_ = table(tableSize);
    bytes curve_ = table(curveSize);
    char format_[8] = "float";
    cdl values_{{0, 0, 0}, {1, 1, 1}, {1, 1, 1}, 1};
    gradeComponent components_[componentCount] = {};
};

scenario record(service& service, const char* name, std::function<bool()> call, std::size_t replySize,
                std::size_t capacity) {
    bool succeeded = false;
    std::thread caller([&] { succeeded = call(); });
    bytes command = service.answerOne();
    caller.join();
    if (!succeeded) throw std::runtime_error(std::string(name) + " failed");
    return {name, std::move(call), std::move(command), replySize, capacity};
}

bool awaitEvent(int descriptor, short event, int milliseconds) {
    pollfd waiting{descriptor, event, 0};
    return poll(&waiting, 1, milliseconds) > 0;
}

bool sendAll(int descriptor, const bytes& command) {
    for (std::size_t count = 0; count < command.size();) {
        const ssize_t more =
            send(descriptor, command.data() + count, command.size() - count, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (more > 0) {
            count += static_cast<std::size_t>(more);
        } else if (errno != EAGAIN || !awaitEvent(descriptor, POLLOUT, 15000)) {
            return false;
        }
    }
    return true;
}

std::size_t receive(int descriptor, unsigned char* buffer, std::size_t capacity) {
    std::size_t count = 0;
    while (count < capacity && awaitEvent(descriptor, POLLIN, count == 0 ? 15000 : 10)) {
        const ssize_t more = read(descriptor, buffer + count, capacity - count);
        if (more <= 0) break;
        count += static_cast<std::size_t>(more);
    }
    return count;
}

// The elements of each entry stand in a known order.
bool fillRecord(const bsonDocument& entry, presetEntry& record) {
    if (entry.elementList.size() != 3) return false;
    const bsonElement& name = *entry.elementList[0];
    std::memcpy(record.presetName, name.value, std::min<std::size_t>(name.valueSize, LUTC_PRESET_NAME_SIZE));
    record.gradeComboIndex = entry.elementList[1]->getInt32Value();
    std::size_t slot = 0;
    for (const bsonElement* const text : entry.elementList[2]->documentValue->elementList) {
        record.gradeCombo.slots[slot++] = strdup(reinterpret_cast<const char*>(text->value));
    }
    return true;
}

}  // namespace

std::vector<scenario> recordScenarios(service& service) {
    const auto held = std::make_shared<held_preset>();
    const auto largeTable = std::make_shared<bytes>(table(65 * 65 * 65 * 3 * sizeof(float)));
    const std::size_t small = smallReply().size();
    std::vector<scenario> all;
    const auto add = [&](const char* name, std::function<bool()> call, std::size_t replySize, std::size_t capacity) {
        all.push_back(record(service, name, std::move(call), replySize, capacity));
    };
    add(
        "lutc_save_presets_to_media", [] { return lutc_save_presets_to_media() == 0; }, small, lutc::smallReply);
    add("lutc_preset_list", listPresets, presetList().size(), lutc::presetListReply);
    add("lutc_recv_preset", receivePreset, preset().size(), lutc::presetReply);
    add(
        "lutc_send_preset", [held] { return held->send(); }, small, lutc::smallReply);
    add(
        "lutc_send_lut",
        [largeTable] {
            return lutc_send_lut(1, 1, false, "3dlut", "float", largeTable->data(),
                                 static_cast<int>(largeTable->size())) == 0;
        },
        small, lutc::smallReply);
    service.start();
    return all;
}

bool bareCall(const scenario& scenario, bytes& buffer) {
    std::uint32_t status = 0;
    std::uint32_t localPort = 0;
    const int descriptor = qv_rpc_client_connect("127.0.0.1", "54440", &status, &localPort);
    const bool received = descriptor >= 0 && sendAll(descriptor, scenario.command) &&
                          receive(descriptor, buffer.data(), scenario.capacity) == scenario.replySize;
    qv_rpc_client_disconnect(descriptor, &status, &localPort);
    return received;
}

bool decodeListAndFillRecords(const bytes& reply) {
    const bsonDocument document(reply.data(), static_cast<std::uint32_t>(reply.size()), false, true);
    bsonDocument* list = nullptr;
    if (document.getArrayWithKey("presetsList", &list) != 1) return false;
    const std::size_t count = list->elementList.size();
    auto* const records = static_cast<presetEntry*>(std::calloc(count, sizeof(presetEntry)));
    if (records == nullptr) return false;
    bool filled = true;
    for (std::size_t i = 0; i < count && filled; ++i) {
        filled = fillRecord(*list->elementList[i]->documentValue, records[i]);
    }
    freePresets(records, static_cast<int>(count));
    return filled;
}

}  // namespace lutc_bench

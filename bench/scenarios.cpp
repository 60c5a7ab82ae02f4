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
#include <lutc/qv_rpc_client.h>
#include "interface/exchange.h"

namespace lutc_bench {
namespace {

void free_presets(presetEntry* presets, int count) {
    for (int i = 0; i < count; ++i) {
        for (char* const slot : presets[i].gradeCombo.slots) std::free(slot);
    }
    std::free(presets);
}

bool list_presets() {
    presetEntry* presets = nullptr;
    int count = 0;
    int maximum = 0;
    if (lutc_preset_list(&presets, &count, &maximum) != 0) return false;
    free_presets(presets, count);
    return count == static_cast<int>(listed_presets);
}

bool receive_preset() {
    gradeComponent components[component_count] = {};
    int count = component_count;
    int combo_index = 0;
    if (lutc_recv_preset("Scene 0001", 0, &combo_index, components, &count) != 0) return false;
    for (const gradeComponent& component : components) {
        std::free(component.data);
        std::free(component.dataFormat);
        std::free(component.cdlValues);
    }
    return count == static_cast<int>(component_count);
}

// A preset as a caller holds it, the same as preset() is.
class held_preset {
  public:
    held_preset() {
        components_[0] = table_of(LUTC_KIND_LUT_3D, table_, 1);
        components_[1].kind = LUTC_KIND_CDL;
        components_[1].cdlValues = &values_;
        components_[1].typeIndex = 1;
        components_[2] = table_of(LUTC_KIND_LUT_1D, curve_, 1);
        components_[3] = table_of(LUTC_KIND_LUT_3D, table_, 2);
    }
    held_preset(const held_preset&) = delete;
    held_preset& operator=(const held_preset&) = delete;

    bool send() const { return lutc_send_preset("Scene 0001", 0, 0, 3, false, 0, components_, component_count) == 0; }

  private:
    gradeComponent table_of(int kind, bytes& data, int type_index) {
        return {kind, data.data(), static_cast<int>(data.size()), type_index, format_, nullptr, nullptr};
    }

    bytes table_ = table(table_size);
    bytes curve_ = table(curve_size);
    char format_[8] = "float";
    cdl values_{{0, 0, 0}, {1, 1, 1}, {1, 1, 1}, 1};
    gradeComponent components_[component_count] = {};
};

scenario record(service& service, const char* name, std::function<bool()> call, std::size_t reply_size,
                std::size_t capacity) {
    bool succeeded = false;
    std::thread caller([&] { succeeded = call(); });
    bytes command = service.answer_one();
    caller.join();
    if (!succeeded) throw std::runtime_error(std::string(name) + " failed");
    return {name, std::move(call), std::move(command), reply_size, capacity};
}

bool await_event(int descriptor, short event, int milliseconds) {
    pollfd waiting{descriptor, event, 0};
    return poll(&waiting, 1, milliseconds) > 0;
}

bool send_all(int descriptor, const bytes& command) {
    for (std::size_t count = 0; count < command.size();) {
        const ssize_t more =
            send(descriptor, command.data() + count, command.size() - count, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (more > 0) {
            count += static_cast<std::size_t>(more);
        } else if (errno != EAGAIN || !await_event(descriptor, POLLOUT, 15000)) {
            return false;
        }
    }
    return true;
}

std::size_t receive(int descriptor, unsigned char* buffer, std::size_t capacity) {
    std::size_t count = 0;
    while (count < capacity && await_event(descriptor, POLLIN, count == 0 ? 15000 : 10)) {
        const ssize_t more = read(descriptor, buffer + count, capacity - count);
        if (more <= 0) break;
        count += static_cast<std::size_t>(more);
    }
    return count;
}

// The elements of each entry stand in a known order.
bool fill_record(const bsonDocument& entry, presetEntry& record) {
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

std::vector<scenario> record_scenarios(service& service, const std::string& wanted) {
    // Never freed, for freeing a large block changes how malloc treats the next ones.
    static const auto* const held = new held_preset;
    static auto* const large_table = new bytes(table(65 * 65 * 65 * 3 * sizeof(float)));
    const std::size_t small = small_reply().size();
    std::vector<scenario> all;
    const auto add = [&](const char* name, std::function<bool()> call, std::size_t reply_size, std::size_t capacity) {
        if (wanted.empty() || wanted == name)
            all.push_back(record(service, name, std::move(call), reply_size, capacity));
    };
    add(
        "lutc_save_presets_to_media", [] { return lutc_save_presets_to_media() == 0; }, small, lutc_calls::small_reply);
    add("lutc_preset_list", list_presets, preset_list().size(), lutc_calls::preset_list_reply);
    add("lutc_recv_preset", receive_preset, preset().size(), lutc_calls::preset_reply);
    add(
        "lutc_send_preset", [] { return held->send(); }, small, lutc_calls::small_reply);
    add(
        "lutc_send_lut",
        [] {
            return lutc_send_lut(1, 1, false, "3dlut", "float", large_table->data(),
                                 static_cast<int>(large_table->size())) == 0;
        },
        small, lutc_calls::small_reply);
    service.start();
    return all;
}

bool bare_call(const scenario& scenario, bytes& buffer) {
    std::uint32_t status = 0;
    std::uint32_t local_port = 0;
    const int descriptor = qv_rpc_client_connect("127.0.0.1", "54440", &status, &local_port);
    const bool received = descriptor >= 0 && send_all(descriptor, scenario.command) &&
                          receive(descriptor, buffer.data(), scenario.capacity) == scenario.reply_size;
    qv_rpc_client_disconnect(descriptor, &status, &local_port);
    return received;
}

bool decode_list_and_fill_records(const bytes& reply) {
    const bsonDocument document(reply.data(), static_cast<std::uint32_t>(reply.size()), false, true);
    bsonDocument* list = nullptr;
    if (document.getArrayWithKey("presetsList", &list) != 1) return false;
    const std::size_t count = list->elementList.size();
    auto* const records = static_cast<presetEntry*>(std::calloc(count, sizeof(presetEntry)));
    if (records == nullptr) return false;
    bool filled = true;
    for (std::size_t i = 0; i < count && filled; ++i) {
        filled = fill_record(*list->elementList[i]->documentValue, records[i]);
    }
    free_presets(records, static_cast<int>(count));
    return filled;
}

}  // namespace lutc_bench

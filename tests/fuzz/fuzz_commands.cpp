// The simulated device: a series of commands, or a file on its media.
//
// First byte 0xFF: the rest is the media file. Else a series of entries: a byte; two bytes length, low byte first; that
// many bytes. With the entry's top bit set they are the fields of the command with that number, in an envelope that is
// right; else they are the whole command.
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>

#include "simulator/commands.h"
#include "simulator/description.h"
#include "simulator/media.h"
#include "tests/fuzz/target.h"
#include "tests/support/check.h"

using namespace simulator;

namespace {

using bytes = std::vector<unsigned char>;

bytes encoded_command(const std::string& name, const bytes& fields) {
    bsonDocument command;
    command.addStringElement("protocolVersion", "2.0");
    command.addStringElement("type", "command");
    command.addInt32Element("msgID", 1);
    command.addStringElement("command", name);
    command.convertElementListToMessage();
    bytes whole(command.message, command.message + command.messageSize - 1);
    whole.insert(whole.end(), fields.begin(), fields.end());
    whole.push_back(0);
    for (std::size_t i = 0; i < 4; ++i) whole[i] = static_cast<unsigned char>(whole.size() >> (8 * i));
    return whole;
}

// What can be read of the device, in one string.
std::string everything(device_state& device) {
    std::string all;
    for (const char* const query : {"getPresetsList", "getSelectedPreset", "getOverridePreset",
                                    "getColorTransformState", "getVideoConnections"}) {
        const bytes reply = answer(device, encoded_command(query, {}));
        CHECK(reply.size() <= (query == std::string("getPresetsList") ? 524288u : 1024u));
        all.append(reply.begin(), reply.end());
    }
    for (std::int32_t channel = 1; channel <= device_state::channel_count(); ++channel) {
        all += std::to_string(device.live(channel).components.size()) + ",";
    }
    return all + std::to_string(device.clients().size());
}

// The "code" of a reply that is as every reply must be.
std::int32_t code_of(const bytes& reply) {
    bsonDocument document(reply.data(), static_cast<std::uint32_t>(reply.size()), false, false);
    CHECK(document.convertMessageToElementList(true) == 1);
    std::string type, message;
    std::int32_t id = 0, code = 0;
    CHECK(document.getStringWithKey("type", type) == 1 && type == "response");
    CHECK(document.getInt32WithKey("msgID", &id) == 1 && id == 1);
    CHECK(document.getInt32WithKey("code", &code) == 1);
    CHECK(document.getStringWithKey("message", message) == 1 && !message.empty());
    if (code != 0) CHECK(reply.size() <= 1024);
    return code;
}

// state is everything(device), before and after.
void give(device_state& device, const bytes& command, std::string& state) {
    const bool is_done = code_of(answer(device, command)) == 0;
    const std::string after = everything(device);
    if (!is_done) CHECK(after == state);
    state = after;
    if (const auto document = decoded_command(command.data(), command.size())) {
        CHECK(described(*document).find('\n') == std::string::npos);
    }
}

void run_commands(const std::uint8_t* data, std::size_t size) {
    static const std::vector<std::string> names = command_names();
    device_state device;
    std::string state = everything(device);
    for (std::size_t at = 0, count = 0; at + 3 <= size && count < 40; ++count) {
        const std::uint8_t choice = data[at];
        const std::size_t wanted = data[at + 1] | static_cast<std::size_t>(data[at + 2]) << 8;
        at += 3;
        const std::size_t length = std::min(wanted, size - at);
        const bytes content(data + at, data + at + length);
        at += length;
        give(device, (choice & 0x80) != 0 ? encoded_command(names[(choice & 0x7F) % names.size()], content) : content,
             state);
    }
    for (std::int32_t i = 1; i <= static_cast<std::int32_t>(device.preset_count()); ++i) {
        bsonDocument fields;
        fields.addInt32Element("presetIndex", i);
        fields.convertElementListToMessage();
        const bytes reply =
            answer(device, encoded_command("getPreset", {fields.message + 4, fields.message + fields.messageSize - 1}));
        CHECK(code_of(reply) == 0 && reply.size() <= 2097152);  // what was stored can be read
    }
}

// A folder that goes with the process.
class folder {
  public:
    folder() { CHECK(mkdtemp(path_.data()) != nullptr); }
    ~folder() {
        unlink(file().c_str());
        rmdir(path_.c_str());
    }
    const std::string& path() const { return path_; }
    std::string file() const { return path_ + "/" + media_file_name; }

  private:
    std::string path_ = "/tmp/lutc-fuzz-XXXXXX";
};

// A file is loaded whole or refused with everything as it was; what was loaded can be saved and loaded again.
void load_media(const std::uint8_t* data, std::size_t size) {
    static const folder media;
    std::ofstream(media.file(), std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    device_state device(media.path());
    const std::string before = everything(device);
    if (code_of(answer(device, encoded_command("loadPresetsFromMedia", {}))) != 0) {
        CHECK(everything(device) == before);
        return;
    }
    const std::string loaded = everything(device);
    CHECK(code_of(answer(device, encoded_command("savePresetsToMedia", {}))) == 0);
    device_state again(media.path());
    CHECK(code_of(answer(again, encoded_command("loadPresetsFromMedia", {}))) == 0 && everything(again) == loaded);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    if (data[0] == 0xFF) {
        load_media(data + 1, size - 1);
    } else {
        run_commands(data, size);
    }
    return 0;
}

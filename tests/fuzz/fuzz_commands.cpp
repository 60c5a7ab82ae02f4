// The simulated device: a series of commands, or a file on its media.
//
// First byte 0xFF: the rest is the media file. Else a series of entries: a byte; two bytes length, low byte first; that
// many bytes. With the entry's top bit set they are the fields of the command with that number, in an envelope that is
// right; else they are the whole command.
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "simulator/commands.h"
#include "simulator/media.h"
#include "simulator/service.h"
#include "tests/fuzz/target.h"
#include "tests/support/check.h"

namespace {

using bytes = std::vector<unsigned char>;

bytes encode_command(const std::string& name, const std::uint8_t* fields = nullptr, std::size_t size = 0) {
    bsonDocument command;
    command.addStringElement("protocolVersion", "2.0");
    command.addStringElement("type", "command");
    command.addInt32Element("msgID", 1);
    command.addStringElement("command", name);
    command.convertElementListToMessage();
    bytes whole(command.message, command.message + command.messageSize - 1);
    whole.insert(whole.end(), fields, fields + size);
    whole.push_back(0);
    for (std::size_t i = 0; i < 4; ++i) whole[i] = static_cast<unsigned char>(whole.size() >> (8 * i));
    return whole;
}

// Whether the command is done. A reply is one document that a client can receive and read.
bool give(simulator::service& service, const bytes& command) {
    const bytes reply = service.answer(1, command).pieces.at(0).bytes;
    bsonDocument document(reply.data(), static_cast<std::uint32_t>(reply.size()), false, false);
    std::int32_t code = 0;
    CHECK(document.convertMessageToElementList(true) == 1 && document.getInt32WithKey("code", &code) == 1);
    CHECK(reply.size() <= (code == 0 ? 2097152u : 1024u));
    return code == 0;
}

// What a refused command leaves as it is: the library, and how many components are live.
std::string state_of(simulator::service& service) {
    const bytes list = service.answer(1, encode_command("getPresetsList")).pieces.at(0).bytes;
    std::string state(list.begin(), list.end());
    for (const std::int32_t channel : {1, 2}) {
        state += std::to_string(service.device().live(channel).components.size()) + ",";
    }
    return state;
}

void run_commands(const std::uint8_t* data, std::size_t size) {
    static const std::vector<std::string> names = simulator::command_names();
    simulator::service service({}, simulator::fault_plan(), [](std::uint64_t, char, const std::string& text) {
        CHECK(text.find('\n') == std::string::npos);
    });
    while (size >= 3) {
        const std::uint8_t choice = data[0];
        const std::size_t length = std::min(std::size_t{data[1]} | std::size_t{data[2]} << 8, size - 3);
        const std::uint8_t* content = data + 3;
        const std::string before = state_of(service);
        const bool is_done = give(
            service, (choice & 0x80) == 0 ? bytes(content, content + length)
                                          : encode_command(names[(choice & 0x7F) % names.size()], content, length));
        CHECK(is_done || state_of(service) == before);
        data += 3 + length;
        size -= 3 + length;
    }
    for (std::int32_t count = service.device().presets().size(); count > 0; --count) {  // what was stored can be read
        bsonDocument index;
        index.addInt32Element("presetIndex", count);
        index.convertElementListToMessage();
        CHECK(give(service, encode_command("getPreset", index.message + 4, index.messageSize - 5)));
    }
}

// A file is loaded whole or refused with everything as it was.
void load_media(const std::uint8_t* data, std::size_t size) {
    std::string folder = "/tmp/lutc-fuzz-XXXXXX";
    CHECK(mkdtemp(folder.data()) != nullptr);
    const std::string file = folder + "/" + simulator::media_file_name;
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    simulator::service service(folder);
    const std::string before = state_of(service);
    if (!give(service, encode_command("loadPresetsFromMedia"))) CHECK(state_of(service) == before);
    unlink(file.c_str());
    rmdir(folder.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 0 && data[0] == 0xFF) {
        load_media(data + 1, size - 1);
    } else {
        run_commands(data, size);
    }
    return 0;
}

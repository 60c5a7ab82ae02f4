#include "simulator/service.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include "bson/validator.h"
#include "simulator/commands.h"
#include "simulator/device/text.h"
#include "simulator/documents.h"
#include "terminal/description.h"

namespace simulator {

// Decoding takes memory for each element. So few that a command costs no more than ten times its size and 64 MiB.
std::uint32_t most_elements(std::uint32_t size) { return std::min<std::uint32_t>(1000000, 300000 + size / 10); }

service::service(std::string media_folder, fault_plan faults, log_sink sink, device_start start)
    : media_folder_(std::move(media_folder)),
      first_faults_(std::move(faults)),
      faults_(first_faults_),
      sink_(std::move(sink)),
      start_(std::move(start)),
      device_(start_) {}

delivery service::answer(std::uint64_t connection, const std::vector<unsigned char>& command) {
    const auto start = std::chrono::steady_clock::now();
    const auto size = static_cast<std::uint32_t>(command.size());
    if (!bsonDocument::isMessageValid(command.data(), size, false))
        return refuse(connection, refusal(reason::malformed, "the command is not a valid BSON document"));
    if (const std::uint32_t most = most_elements(size); lutc_bson::count_objects(command.data(), size) > most)
        return refuse(connection,
                      refusal(reason::malformed, "the command has more than " + std::to_string(most) + " elements"));
    bsonDocument document(command.data(), size, false, false);
    if (document.convertMessageToElementList(false) != 1)
        return refuse(connection, refusal(reason::malformed, "the command has an element of an unknown type"));
    std::string name, text;
    document.getStringWithKey("command", name);
    if (sink_ || observer_) {
        const std::string content = lutc_terminal::describe(document);
        text = (name.empty() ? "(no command)" : escape(name)) + (content.empty() ? "" : " ") + content;
    }
    log(connection, '<', text);
    const std::optional<fault> wrong = faults_.next(name);
    const auto reply = wrong && !wrong->is_performed
                           ? simulator::refuse(refusal(reason::on_demand, "refused on demand"))
                           : perform(device_, media_folder_, document);
    return finish({connection, name, std::move(text), command, wrong, start}, *reply);
}

delivery service::refuse(std::uint64_t connection, const refusal& why) {
    const std::vector<unsigned char> unread;
    return finish({connection, {}, {}, unread, std::nullopt, std::chrono::steady_clock::now()},
                  *simulator::refuse(why));
}

void service::reset() {
    device_ = device_state(start_);
    faults_ = first_faults_;
}

void service::log(std::uint64_t connection, char mark, const std::string& text) const {
    if (sink_) sink_(connection, mark, text);
}

delivery service::finish(const taken_command& command, bsonDocument& reply) {
    const std::string note = command.wrong ? " (fault: " + command.wrong->name() + ")" : "";
    const std::string text = sink_ || observer_ ? lutc_terminal::describe(reply) + note : "";
    log(command.connection, '>', text);
    std::int32_t code = 0;
    reply.getInt32WithKey("code", &code);
    std::vector<unsigned char> bytes = encode(reply);
    if (observer_) {
        const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - command.start;
        observer_({command.connection, command.name, command.text, text, code, command.wrong.has_value(), taken.count(),
                   command.message, bytes});
    }
    return faults_.send(std::move(bytes), command.wrong);
}

}  // namespace simulator

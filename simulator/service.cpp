#include "simulator/service.h"

#include <new>
#include <utility>

#include "simulator/commands.h"
#include "simulator/description.h"
#include "simulator/device/text.h"
#include "simulator/documents.h"

namespace simulator {

service::service(std::string media_folder, fault_plan faults, log_sink sink)
    : media_folder_(std::move(media_folder)), faults_(std::move(faults)), sink_(std::move(sink)) {}

delivery service::answer(std::uint64_t connection, const std::vector<unsigned char>& command) {
    bsonDocument document(command.data(), static_cast<std::uint32_t>(command.size()), false, false);
    if (document.convertMessageToElementList(true) != 1)
        return refuse(connection, refusal(reason::malformed, "the command is not a valid BSON document"));
    std::string name;
    document.getStringWithKey("command", name);
    if (sink_) {
        const std::string content = describe(document);
        log(connection, '<', (name.empty() ? "(no command)" : escape(name)) + (content.empty() ? "" : " ") + content);
    }
    const std::optional<fault> wrong = faults_.next(name);
    const auto reply = wrong && !wrong->kind->is_performed
                           ? simulator::refuse(refusal(reason::on_demand, "refused on demand"))
                           : perform(device_, media_folder_, document);
    log_reply(connection, *reply, wrong);
    return faults_.send(encode(*reply), wrong);
}

delivery service::refuse(std::uint64_t connection, const refusal& why) {
    const auto reply = simulator::refuse(why);
    log_reply(connection, *reply, std::nullopt);
    return faults_.send(encode(*reply), std::nullopt);
}

void service::log(std::uint64_t connection, char mark, const std::string& text) const {
    if (sink_) sink_(connection, mark, text);
}

void service::log_reply(std::uint64_t connection, const bsonDocument& reply, const std::optional<fault>& wrong) const {
    const std::string note = wrong ? " (fault: " + std::string(wrong->kind->name) + ")" : "";
    if (sink_) sink_(connection, '>', describe(reply) + note);
}

}  // namespace simulator

// Commands and replies as text, for the tests of the simulator.
#ifndef LUTC_TESTS_SIMULATOR_EXCHANGE_H
#define LUTC_TESTS_SIMULATOR_EXCHANGE_H

#include <string>
#include <vector>

#include "simulator/service.h"
#include "tests/support/documents.h"

// The bytes of a command with these fields after the envelope.
inline std::string command_bytes(const std::string& name, const std::string& fields = "{}") {
    auto command = document_from("{'protocolVersion':'2.0','type':'command','msgID':1,'command':'" + name + "'}");
    auto rest = document_from(fields);
    // Keys may repeat here: "sendLut" has a second "type".
    command->elementList.insert(command->elementList.end(), rest->elementList.begin(), rest->elementList.end());
    rest->elementList.clear();
    return encoded(*command);
}

// A reply without the fields that every successful reply begins with: "{...}", or "CODE: message" of a refusal.
inline std::string reply_text(const std::string& bytes) {
    const std::string text = decoded(bytes);
    const std::string head = "{'type':'response','msgID':1,'code':0,'message':'ok'";
    if (text.compare(0, head.size(), head) == 0) {
        const std::size_t comma = text[head.size()] == ',' ? 1 : 0;
        return "{" + text.substr(head.size() + comma);
    }
    bsonDocument reply(bytes_of(bytes), size_of(bytes), true, true);
    std::int32_t code = 0;
    std::string message;
    if (reply.getInt32WithKey("code", &code) != 1 || reply.getStringWithKey("message", message) != 1) return text;
    return std::to_string(code) + ": " + message;
}

// The bytes of the service's reply to these bytes.
inline std::string reply_bytes(simulator::service& service, const std::string& command) {
    const auto reply = service.answer(1, {command.begin(), command.end()}).pieces.at(0).bytes;
    return std::string(reply.begin(), reply.end());
}

inline std::string exchange(simulator::service& service, const std::string& name, const std::string& fields = "{}") {
    return reply_text(reply_bytes(service, command_bytes(name, fields)));
}

#endif

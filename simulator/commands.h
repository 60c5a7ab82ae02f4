// The commands of the service: a document in, a document out. No sockets.
#ifndef LUTC_SIMULATOR_COMMANDS_H
#define LUTC_SIMULATOR_COMMANDS_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <lutc/bsonDocument.h>
#include "simulator/device_state.h"
#include "simulator/refusal.h"

namespace simulator {

// The names of all commands, in alphabetical order.
std::vector<std::string> command_names();

// The command in these bytes, decoded; null when they are not one valid document.
std::unique_ptr<bsonDocument> decoded_command(const unsigned char* bytes, std::size_t size);

// Its "command"; empty when that is missing or not a string.
std::string command_name(const bsonDocument& command);

// Does what the command says and returns the reply: "type", "msgID", "code", "message", then the results. A refused
// command, also one that memory ran out for, changes nothing and gets a "code" other than 0.
std::unique_ptr<bsonDocument> perform(device_state& device, const bsonDocument& command);

// The reply to a command that is refused.
std::unique_ptr<bsonDocument> refusing_reply(reason why, const std::string& message);

// The whole way: the bytes of a command in, the bytes of its reply out, whatever the bytes are.
std::vector<unsigned char> answer(device_state& device, const std::vector<unsigned char>& command);

}  // namespace simulator

#endif

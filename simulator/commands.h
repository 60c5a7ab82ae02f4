// The commands of the service: a document in, a document out. No sockets.
#ifndef LUTC_SIMULATOR_COMMANDS_H
#define LUTC_SIMULATOR_COMMANDS_H

#include <memory>
#include <string>
#include <vector>

#include <lutc/bsonDocument.h>
#include "simulator/device/device_state.h"
#include "simulator/refusal.h"

namespace simulator {

// The names of all commands, in alphabetical order.
std::vector<std::string> command_names();

// Does what the command says and returns the reply: "type", "msgID", "code", "message", then the results. A refused
// command, also one that memory ran out for, changes nothing and gets a "code" other than 0. The reply borrows the data
// of presets: it is encoded before the next command.
std::unique_ptr<bsonDocument> perform(device_state& device, const std::string& media_folder,
                                      const bsonDocument& command);

// The reply to a command that is refused.
std::unique_ptr<bsonDocument> refuse(const refusal& why);

}  // namespace simulator

#endif

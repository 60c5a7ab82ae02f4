// The service without its sockets: the bytes of a command in, the delivery of its reply out.
#ifndef LUTC_SIMULATOR_SERVICE_H
#define LUTC_SIMULATOR_SERVICE_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <lutc/bsonDocument.h>
#include "simulator/device/device_state.h"
#include "simulator/faults.h"
#include "simulator/refusal.h"

namespace simulator {

class service {
  public:
    // mark: "<" a command, ">" its reply, "-" the end of a connection without one.
    using log_sink = std::function<void(std::uint64_t connection, char mark, const std::string& text)>;

    // Presets are saved to and loaded from that folder; without one, both are refused. Without a sink there is no log.
    explicit service(std::string media_folder = {}, fault_plan faults = fault_plan(), log_sink sink = {});

    delivery answer(std::uint64_t connection, const std::vector<unsigned char>& command);
    delivery refuse(std::uint64_t connection, const refusal& why);
    void log(std::uint64_t connection, char mark, const std::string& text) const;

    const device_state& device() const { return device_; }

  private:
    void log_reply(std::uint64_t connection, const bsonDocument& reply, const std::optional<fault>& wrong) const;

    std::string media_folder_;
    fault_plan faults_;
    log_sink sink_;
    device_state device_;
};

}  // namespace simulator

#endif

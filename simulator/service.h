// The service without its sockets: the bytes of a command in, the delivery of its reply out.
#ifndef LUTC_SIMULATOR_SERVICE_H
#define LUTC_SIMULATOR_SERVICE_H

#include <chrono>
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

// A command and its reply. What is only referred to lives as long as the observer's call.
struct answered_command {
    std::uint64_t connection;
    const std::string& name;
    const std::string &text, &reply_text;  // as the log has them
    std::int32_t code;
    bool went_wrong;      // on demand
    double milliseconds;  // from the whole command to its reply
    const std::vector<unsigned char>& message;
    const std::vector<unsigned char>& reply;
};

class service {
  public:
    // mark: "<" a command, ">" its reply, "-" the end of a connection without one.
    // "!": what of the command can't be shown.
    using log_sink = std::function<void(std::uint64_t connection, char mark, const std::string& text)>;

    // Presets are saved to and loaded from that folder; without one, both are refused. Without a sink there is no log.
    explicit service(std::string media_folder = {}, fault_plan faults = fault_plan(), log_sink sink = {},
                     device_start start = {});

    delivery answer(std::uint64_t connection, const std::vector<unsigned char>& command);
    delivery refuse(std::uint64_t connection, const refusal& why);
    void log(std::uint64_t connection, char mark, const std::string& text) const;

    // Is told of every command, once its reply is there and before it is sent.
    void set_observer(std::function<void(const answered_command&)> observer) { observer_ = std::move(observer); }

    const device_state& device() const { return device_; }
    const std::string& media_folder() const { return media_folder_; }
    fault_plan& faults() { return faults_; }
    void reset();  // device and faults as at the start; media stay

  private:
    struct taken_command {
        std::uint64_t connection;
        std::string name, text;
        const std::vector<unsigned char>& message;
        std::optional<fault> wrong;
        std::chrono::steady_clock::time_point start;
    };
    delivery finish(const taken_command& command, bsonDocument& reply);

    std::string media_folder_;
    fault_plan first_faults_;
    fault_plan faults_;
    log_sink sink_;
    std::function<void(const answered_command&)> observer_;
    device_start start_;
    device_state device_;
};

}  // namespace simulator

#endif

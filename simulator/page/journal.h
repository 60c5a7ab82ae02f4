// What has happened since the start: the log, the revision of the device, and both as a stream of events.
#ifndef LUTC_SIMULATOR_PAGE_JOURNAL_H
#define LUTC_SIMULATOR_PAGE_JOURNAL_H

#include <cstdint>
#include <functional>
#include <string>

#include "simulator/page/log.h"
#include "simulator/service.h"

namespace simulator {

class journal {
  public:
    // changed is called when there is something new to follow.
    explicit journal(std::function<void()> changed);

    const std::string& instance() const { return instance_; }  // another one after each start
    std::uint64_t revision() const { return revision_; }       // counts changes of the device
    const command_log& log() const { return log_; }

    void add(const answered_command& command, bool has_changed);
    std::uint64_t note(const std::string& text);  // to the last command; its connection, 0 when there is none
    void note_change();

    // Gives what follows the event with this id, a piece at a time: commands as "command", then, when it changed, the
    // revision as "state". Empty when there is nothing now. Without an id it begins now; with one of another instance,
    // with the first command. Commands that the log doesn't have any more are left out, and of those that come in quick
    // succession all but the newest. This object lives on meanwhile.
    std::function<std::string()> follow(const std::string& last_event_id) const;

  private:
    std::uint64_t number_behind(const std::string& event_id) const;
    std::string events_from(std::uint64_t& next, std::uint64_t& told) const;

    std::function<void()> changed_;
    std::string instance_;
    std::uint64_t revision_ = 1;
    command_log log_;
};

}  // namespace simulator

#endif

#include "simulator/page/log.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

constexpr std::size_t kept_bytes = 4096;

}  // namespace

logged_message::logged_message(const std::vector<unsigned char>& bytes)
    : size(bytes.size()),
      first(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), kept_bytes))) {}

void command_log::add(log_entry entry) {
    entry.number = ++last_;
    entries_.push_back(std::move(entry));
    if (entries_.size() > capacity) entries_.pop_front();
}

void command_log::note(std::uint64_t number, const std::string& text) {
    if (find(number) != nullptr) entries_[number - first()].notes.push_back(text);
}

const log_entry* command_log::find(std::uint64_t number) const {
    return number < first() || number > last_ ? nullptr : &entries_[number - first()];
}

}  // namespace simulator

// Why the device can't do something: a sentence in its own terms.
#ifndef LUTC_SIMULATOR_DEVICE_PROBLEM_H
#define LUTC_SIMULATOR_DEVICE_PROBLEM_H

#include <stdexcept>
#include <string>

namespace simulator {

enum class problem_kind { wrong_value, not_found, not_possible };

class problem : public std::runtime_error {
  public:
    problem(problem_kind kind, const std::string& sentence) : std::runtime_error(sentence), kind_(kind) {}
    problem_kind kind() const noexcept { return kind_; }

  private:
    problem_kind kind_;
};

}  // namespace simulator

#endif

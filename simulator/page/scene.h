// What is seen where: the way of the signal from the inputs through channels and their grades to the outputs.
#ifndef LUTC_SIMULATOR_PAGE_SCENE_H
#define LUTC_SIMULATOR_PAGE_SCENE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "simulator/device/device_state.h"
#include "simulator/page/renderer.h"

namespace simulator {

// Colour-transform states. With others, which are kept but not known, the grade runs.
constexpr std::int32_t on_state = 0, bypassed_state = 1;

struct shown_component {
    const grade_component* content = nullptr;
    std::int32_t slot = 1;
    bool runs = false;
    std::string reason;               // why it doesn't run
    std::optional<std::size_t> step;  // none: the test pattern
};

// A grade as it is shown somewhere, with all that it needs: the device may go on meanwhile.
struct shown_grade {
    live_grade content;
    std::vector<colour::grade_component> operands;  // what the steps refer to
    std::vector<colour::grade_step> steps;
    std::optional<colour::test_pattern> pattern;
    // The test pattern, then the others in the order in which they run, then what the combination doesn't name.
    std::vector<shown_component> components;
};

// Something to make a picture of.
struct shot {
    std::int32_t input = 1;                    // where the signal comes from
    std::shared_ptr<const shown_grade> grade;  // null: none
    bool is_graded = false;                    // false: the grade is there, but the signal passes it by
};

// What of a shot is wanted.
struct framing {
    std::optional<std::set<std::size_t>> only;  // components, counted from 1; every one unless limited
    std::set<std::size_t> without;
    std::size_t width = 0;  // 0: as it arrives
    int depth = 8;
};

class scene {
  public:
    using picture = std::shared_ptr<const colour::image>;

    // The pictures of the inputs, in order; null is no signal. Device and renderer outlive this object.
    scene(const device_state& device, const renderer& computes, std::vector<picture> inputs);

    bool has_signal(std::int32_t input) const { return arriving(input) != nullptr; }
    shot output(std::int32_t index) const;
    shot channel(std::int32_t index) const;
    shot preset(std::int32_t index) const;  // on input 1

    picture_plan plan(const shot& from, const framing& wanted) const;

    // What of a channel's state can't be shown, and why, in words.
    std::vector<std::string> find_obstacles(std::int32_t channel) const;

    // Different for plans whose pictures can differ.
    std::string key(const picture_plan& planned) const;

    std::string key(const colour::grade_component& operand) const;

    // Why a component of a shown grade can't run whatever the device does; empty when it can.
    std::string obstacle_of(const colour::grade_component& operand) const;

  private:
    struct table_facts {
        std::weak_ptr<const std::vector<unsigned char>> bytes;
        std::string obstacle;
        std::size_t digest = 0;
    };

    const endpoint& source_of(const char* type, std::int32_t index) const;
    live_grade preset_grade(std::int32_t index) const;
    shot grade(std::int32_t input, live_grade content, bool is_bypassed) const;
    void arrange_pattern(shown_grade& shown) const;
    void arrange_steps(shown_grade& shown) const;
    const picture& arriving(std::int32_t input) const { return inputs_.at(static_cast<std::size_t>(input) - 1); }
    std::string pattern_obstacle(const test_pattern& pattern) const;
    void learn(const grade_component& component) const;

    const device_state& device_;
    const renderer& computes_;
    std::vector<picture> inputs_;
    mutable std::map<const void*, table_facts> tables_;  // by their bytes: what was worked out once
};

}  // namespace simulator

#endif

#include "colour/values.h"

#include <cmath>
#include <limits>
#include <utility>

namespace colour {
namespace {

std::string find_number_obstacle(const char* name, double value) {
    const std::string subject(name);
    if (!std::isfinite(value)) return subject + " is not finite";
    if (std::fabs(value) > double{std::numeric_limits<float>::max()}) return subject + " is beyond single precision";
    if (subject == "power" && value <= 0.0) return "power must be above 0";
    if (subject != "offset" && value < 0.0) return subject + " must not be below 0";
    return {};
}

}  // namespace

std::string find_cdl_obstacle(const cdl_values& values) {
    const std::pair<const char*, const rgb*> triples[] = {
        {"slope", &values.slope}, {"offset", &values.offset}, {"power", &values.power}};
    for (const auto& [name, triple] : triples) {
        for (const double value : *triple) {
            std::string obstacle = find_number_obstacle(name, value);
            if (!obstacle.empty()) return obstacle;
        }
    }
    return find_saturation_obstacle(values.saturation);
}

std::string find_saturation_obstacle(double saturation) { return find_number_obstacle("saturation", saturation); }

}  // namespace colour

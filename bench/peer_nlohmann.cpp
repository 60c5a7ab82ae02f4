#include <nlohmann/json.hpp>

#include "bench/peers.h"

namespace lutc_bench {

struct nlohmann_tree::holder {
    nlohmann::ordered_json value;
};

nlohmann_tree::nlohmann_tree(const bytes& source)
    : holder_(new holder{nlohmann::ordered_json::from_bson(source.begin(), source.end())}) {}
nlohmann_tree::~nlohmann_tree() = default;

bool nlohmann_tree::decode_and_destroy(const bytes& source) {
    return nlohmann::ordered_json::from_bson(source.begin(), source.end()).is_object();
}

std::size_t nlohmann_tree::encode() const { return nlohmann::ordered_json::to_bson(holder_->value).size(); }

}  // namespace lutc_bench

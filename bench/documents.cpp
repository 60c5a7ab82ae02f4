// Documents: the classes beside libbson, nlohmann::ordered_json and the bare copying of the same bytes.
//
// Benchmarks are named SAMPLE/OPERATION/WHO, those of growth nesting-DEPTH/... and elements-COUNT/...
#include <benchmark/benchmark.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include <lutc/bsonDocument.h>
#include "bench/peers.h"
#include "bench/run.h"
#include "bench/samples.h"

namespace lutc_bench {
namespace {

// A sample in every form that a benchmark starts from.
struct subject {
    std::string name;
    bytes encoded;
    bsonDocument decoded;
    std::vector<span> leaves;    // the value bytes of each element
    std::vector<span> messages;  // of the document and of each embedded one
    bytes objects;               // as many bytes as all elements and documents have
    std::vector<span> memory;    // all that the decoded tree holds: the objects at once, each value and list alone

    subject(std::string its_name, bytes its_bytes)
        : name(std::move(its_name)),
          encoded(std::move(its_bytes)),
          decoded(encoded.data(), static_cast<std::uint32_t>(encoded.size()), false, true) {
        std::vector<const bsonDocument*> waiting{&decoded};
        while (!waiting.empty()) {
            const bsonDocument* const document = waiting.back();
            waiting.pop_back();
            messages.push_back({document->message, document->messageSize});
            objects.resize(objects.size() + sizeof(bsonDocument) + document->elementList.size() * sizeof(bsonElement));
            memory.push_back({reinterpret_cast<const unsigned char*>(document->elementList.data()),
                              document->elementList.size() * sizeof(bsonElement*)});
            for (const bsonElement* const element : document->elementList) {
                if (element->documentValue != nullptr) waiting.push_back(element->documentValue);
                if (element->valueSize != 0) leaves.push_back({element->value, element->valueSize});
            }
        }
        memory.insert(memory.end(), leaves.begin(), leaves.end());
        memory.push_back({objects.data(), objects.size()});
    }
};

// Registers what runs once an iteration and returns whether it worked.
template <class Iteration>
void add(const subject& sample, const char* what, Iteration iteration, double counted_bytes = 0) {
    const double size = counted_bytes != 0 ? counted_bytes : static_cast<double>(sample.encoded.size());
    const std::string name = sample.name + "/" + what;
    benchmark::RegisterBenchmark(name.c_str(), [iteration, size](benchmark::State& state) {
        join_free_memory();
        for (auto _ : state) {
            if (!iteration()) {
                state.SkipWithError("the operation failed");
                break;
            }
        }
        state.counters["bytes"] = size;
    });
}

bool validate(const subject& sample) {
    return bsonDocument::isMessageValid(sample.encoded.data(), static_cast<std::uint32_t>(sample.encoded.size()),
                                        false);
}

bool decode_and_destroy(const subject& sample) {
    const bsonDocument document(sample.encoded.data(), static_cast<std::uint32_t>(sample.encoded.size()), false, true);
    return !document.elementList.empty();
}

// The tree that is encoded again and again: a copy, so that the sample's messages stay what they are.
std::shared_ptr<bsonDocument> tree_of(const subject& sample) {
    return std::shared_ptr<bsonDocument>(sample.decoded.getCopy());
}

bool encode(bsonDocument& tree, std::size_t expected_size) {
    tree.convertElementListToMessage();
    return tree.messageSize == expected_size;
}

bool copy_and_destroy(const subject& sample) {
    const std::unique_ptr<bsonDocument> copy(sample.decoded.getCopy());
    return copy->elementList.size() == sample.decoded.elementList.size();
}

// The fields that libbson_tree::build has.
std::size_t build() {
    bsonDocument document;
    document.addStringElement("protocolVersion", "2.0");
    document.addStringElement("type", "command");
    document.addInt32Element("msgID", 1);
    document.addStringElement("command", "setSelectedPreset");
    document.addInt32Element("presetIndex", 7);
    document.addInt32Element("channelIndex", 2);
    document.convertElementListToMessage();
    return document.messageSize;
}

void add_own(const subject& sample) {
    add(sample, "validate/lutc", [&sample] { return validate(sample); });
    add(sample, "decode/lutc", [&sample] { return decode_and_destroy(sample); });
}

void add_encode(const subject& sample) {
    double written = 0;
    for (const span message : sample.messages) written += static_cast<double>(message.size);
    add(
        sample, "encode/lutc", [tree = tree_of(sample), size = sample.encoded.size()] { return encode(*tree, size); },
        written);
}

void add_floor(const subject& sample) {
    auto target = std::make_shared<bytes>(sample.encoded.size());
    add(sample, "copy/memcpy", [&sample, target] { return copy_into(target->data(), sample.encoded), true; });
    add(sample, "copy/block", [&sample] {
        return allocate_copy_free({sample.encoded.data(), sample.encoded.size()}), true;
    });
    add(sample, "copy/leaves", [&sample] { return allocate_copy_free_together(sample.leaves), true; });
    add(sample, "copy/memory", [&sample] { return allocate_copy_free_together(sample.memory), true; });
    add(sample, "copy/messages-in-turn", [&sample] { return allocate_copy_free_in_turn(sample.messages), true; });
    add(sample, "copy/messages-together", [&sample] { return allocate_copy_free_together(sample.messages), true; });
}

void add_peers(const subject& sample) {
    add(sample, "validate/libbson", [&sample] { return libbson_tree::validate(sample.encoded); });
    add(sample, "validate/libbson-walk", [&sample] { return libbson_tree::walk(sample.encoded); });
    add(sample, "decode/libbson", [&sample] {
        libbson_tree tree;
        return libbson_tree::validate(sample.encoded) && tree.fill(sample.encoded);
    });
    auto tree = std::make_shared<libbson_tree>();
    tree->fill(sample.encoded);
    add(sample, "duplicate/lutc", [&sample] { return copy_and_destroy(sample); });
    add(sample, "duplicate/tree", [tree] { return tree->copy(); });
    add(sample, "encode/libbson", [tree, size = sample.encoded.size()] { return tree->encode() == size; });

    add(sample, "decode/nlohmann", [&sample] { return nlohmann_tree::decode_and_destroy(sample.encoded); });
    add(sample, "encode/nlohmann",
        [json = std::make_shared<nlohmann_tree>(sample.encoded), size = sample.encoded.size()] {
            return json->encode() == size;
        });
}

void add_growth(const subject& sample) {
    add_own(sample);
    add(sample, "measure/lutc",
        [&sample] { return sample.decoded.calculateMessageSizeFromKeyValueList() == sample.encoded.size(); });
    add(sample, "copy/leaves", [&sample] { return allocate_copy_free_together(sample.leaves), true; });
}

}  // namespace
}  // namespace lutc_bench

int main(int argc, char** argv) {
    using namespace lutc_bench;
    std::deque<subject> samples;
    const auto sample = [&samples](std::string name, bytes encoded) -> const subject& {
        return samples.emplace_back(std::move(name), std::move(encoded));
    };
    for (const subject* const each :
         {&sample("small", small_command()), &sample("list", preset_list()), &sample("preset", preset())}) {
        add_own(*each);
        add_encode(*each);
        add_floor(*each);
        add_peers(*each);
    }
    const std::size_t built = build();
    add(samples.front(), "build/lutc", [built] { return build() == built; });
    add(samples.front(), "build/libbson", [built] { return libbson_tree::build() == built; });
    constexpr std::size_t nested = 100000;
    for (std::size_t depth = 1; depth <= nested; depth *= 10) {
        const subject& chains = sample("nesting-" + std::to_string(depth), nested_documents(depth, nested));
        add_growth(chains);
        // Every embedded document gets its own message, so what is written grows with the depth, as promised.
        if (depth <= 100) add_encode(chains);
    }
    for (std::size_t count = 10; count <= 1000000; count *= 10) {
        const subject& row = sample("elements-" + std::to_string(count), elements_in_a_row(count));
        add_growth(row);
        add_encode(row);
    }
    return run_benchmarks(argc, argv);
}

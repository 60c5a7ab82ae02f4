// The documents that the benchmarks work on, as encoded bytes.
#ifndef LUTC_BENCH_SAMPLES_H
#define LUTC_BENCH_SAMPLES_H

#include <cstddef>
#include <vector>

namespace lutc_bench {

using bytes = std::vector<unsigned char>;

bytes smallCommand();  // about 110 bytes: the selection of a preset
bytes smallReply();    // what answers a command that asks for nothing
bytes presetList();    // about 512 KiB: the reply that lists 4,000 presets of three components each
bytes preset();        // about 1.7 MB: the reply that holds two tables of 800 KiB, a CDL and a curve of 48 KiB

constexpr std::size_t listedPresets = 4000;
constexpr std::size_t tableSize = 800 * 1024;
constexpr std::size_t curveSize = 48 * 1024;
constexpr std::size_t componentCount = 4;

// Bytes that don't repeat in any short period.
bytes table(std::size_t size);

// 8 bytes for each of the documents, and 5: chains of that depth beside each other. depth divides documents.
bytes nestedDocuments(std::size_t depth, std::size_t documents);

// That many elements beside each other, numbers and strings by turns.
bytes elementsInARow(std::size_t count);

}  // namespace lutc_bench

#endif

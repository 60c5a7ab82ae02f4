// The documents that the benchmarks work on, as encoded bytes.
#ifndef LUTC_BENCH_SAMPLES_H
#define LUTC_BENCH_SAMPLES_H

#include <cstddef>
#include <vector>

namespace lutc_bench {

using bytes = std::vector<unsigned char>;

bytes small_command();  // about 110 bytes: the selection of a preset
bytes small_reply();    // what answers a command that asks for nothing
bytes preset_list();    // about 512 KiB: the reply that lists 4,000 presets of three components each
bytes preset();         // about 1.7 MB: the reply that holds two tables of 800 KiB, a CDL and a curve of 48 KiB

constexpr std::size_t listed_presets = 4000;
constexpr std::size_t table_size = 800 * 1024;
constexpr std::size_t curve_size = 48 * 1024;
constexpr std::size_t component_count = 4;

// Bytes that don't repeat in any short period.
bytes table(std::size_t size);

// 8 bytes for each of the documents, and 5: chains of that depth beside each other. depth divides documents.
bytes nested_documents(std::size_t depth, std::size_t documents);

// That many elements beside each other, numbers and strings by turns.
bytes elements_in_a_row(std::size_t count);

}  // namespace lutc_bench

#endif

// A CDL, a cube of 33 points and a curve on a picture of 1920x1080: the library's grade beside OpenColorIO's own apply
// of the same three.
#include <OpenColorIO/OpenColorIO.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "bench/run.h"
#include "colour/grade.h"
#include "colour/layout.h"
#include "colour/stages.h"

namespace lutc_bench {
namespace {

namespace OCIO = OCIO_NAMESPACE;

constexpr std::size_t width = 1920;
constexpr std::size_t height = 1080;

colour::lut_table make_samples(bool is_cube, std::size_t size) {
    colour::lut_table table{is_cube, size, {}};
    const std::size_t count = is_cube ? size * size * size : size;
    const auto level = [size](std::size_t i) {
        return static_cast<float>(std::pow(static_cast<double>(i) / static_cast<double>(size - 1), 1.1));
    };
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t places[] = {i % size, i / size % size, i / size / size};
        for (const std::size_t place : places) table.values.push_back(level(is_cube ? place : i));
    }
    return table;
}

struct samples {
    colour::cdl_values cdl;
    colour::lut_table cube = make_samples(true, 33);
    colour::lut_table curve = make_samples(false, 1024);
    std::vector<float> pixels;

    samples() {
        cdl.slope = {1.1, 1.0, 0.9};
        cdl.power = {1.1, 1.0, 0.95};
        cdl.saturation = 1.2;
        for (std::size_t i = 0; i < width * height * 4; ++i) {
            pixels.push_back(static_cast<float>(i * 2654435761U % 65536) / 65535.0F);
        }
    }
};

// The time for all rows, each into the same place. Making the steps and reading the tables is part of it.
void grade(benchmark::State& state, const samples& from) {
    const auto encode = [](const colour::lut_table& table, const char* layout) {
        return colour::pack(table, *colour::find_layout(layout));
    };
    const std::vector<unsigned char> cube = encode(from.cube, "float32-le-red-fastest");
    const std::vector<unsigned char> curve = encode(from.curve, "float32-le");
    const std::vector<colour::grade_component> components = {{"cdl", 1, {}, from.cdl, nullptr},
                                                             {"3dlut", 1, "float32-le-red-fastest", {}, &cube},
                                                             {"1dlut", 1, "float32-le", {}, &curve}};
    const colour::image_rows source{width, height, [&from](std::size_t y, float* rgba) {
                                        std::copy_n(from.pixels.data() + y * width * 4, width * 4, rgba);
                                    }};
    std::vector<float> row(width * 4);
    for (auto _ : state) {
        const colour::image_rows graded = colour::grade_rows(source, colour::list_steps(components), {});
        for (std::size_t y = 0; y < height; ++y) graded.read(y, row.data());
        benchmark::DoNotOptimize(row.data());
    }
}

void apply(benchmark::State& state, const samples& from) {
    const OCIO::GroupTransformRcPtr group = OCIO::GroupTransform::Create();
    for (const OCIO::TransformRcPtr& stage :
         {colour::make_cdl(from.cdl), colour::make_table(from.cube, OCIO::INTERP_TETRAHEDRAL),
          colour::make_table(from.curve, OCIO::INTERP_TETRAHEDRAL)}) {
        group->appendTransform(stage);
    }
    const OCIO::ConstCPUProcessorRcPtr processor =
        OCIO::Config::CreateRaw()->getProcessor(group)->getDefaultCPUProcessor();
    std::vector<float> pixels(from.pixels);
    OCIO::PackedImageDesc source(const_cast<float*>(from.pixels.data()), width, height, 4);
    OCIO::PackedImageDesc target(pixels.data(), width, height, 4);
    for (auto _ : state) processor->apply(source, target);
}

}  // namespace
}  // namespace lutc_bench

int main(int argc, char** argv) {
    const lutc_bench::samples from;
    benchmark::RegisterBenchmark("picture/grade", [&](benchmark::State& state) { lutc_bench::grade(state, from); });
    benchmark::RegisterBenchmark("picture/apply", [&](benchmark::State& state) { lutc_bench::apply(state, from); });
    return lutc_bench::run_benchmarks(argc, argv);
}

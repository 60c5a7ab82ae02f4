#include "cli/presets/grade_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>

#include "cli/console/output.h"

namespace {

using namespace lutc_cli;
namespace fs = std::filesystem;

class GradeFile : public testing::Test {
  protected:
    GradeFile() {
        std::string pattern = fs::temp_directory_path() / "grade_file_XXXXXX";
        folder_ = mkdtemp(pattern.data());
    }
    ~GradeFile() override { fs::remove_all(folder_); }

    std::string path(const char* name) const { return folder_ / name; }

    std::string with(const std::string& text) const {
        std::ofstream(path("grade.json"), std::ios::binary) << text;
        return path("grade.json");
    }

    fs::path folder_;
};

file_component make_component(int kind, int type_index) {
    file_component component;
    component.kind = kind;
    component.type_index = type_index;
    return component;
}

TEST_F(GradeFile, KeepsEveryComponentExactly) {
    grade_file grade;
    grade.name = "Näme \"quoted\"/..";
    grade.combination = 2;
    grade.components = {make_component(LUTC_KIND_CDL, 3), make_component(LUTC_KIND_SATURATION, 0),
                        make_component(LUTC_KIND_CDL, 0), make_component(LUTC_KIND_LUT_1D, 1),
                        make_component(LUTC_KIND_LUT_3D, 2)};
    const double least = std::numeric_limits<double>::denorm_min();
    const double most = std::numeric_limits<double>::max();
    grade.components[0].values = cdl{{0.1, -0.0, 1.0 / 3}, {least, most, 1e-300}, {-most, 0.1 + 0.2, 2}, 0.7};
    grade.components[1].values = cdl{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, -1};
    grade.components[2].data = {0, 255, 10};
    grade.components[3].data_format = "uint16 \\ \n";
    grade.components[4].data_format = "float32";
    grade.components[4].data = {1};

    write_grade_file(path("look.json"), grade, "look");
    const grade_file read = read_grade_file(path("look.json"), grade_use::backup);

    EXPECT_EQ(read.name, grade.name);
    EXPECT_EQ(read.combination, 2);
    ASSERT_EQ(read.components.size(), grade.components.size());
    for (std::size_t i = 0; i < read.components.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(read.components[i].kind, grade.components[i].kind);
        EXPECT_EQ(read.components[i].type_index, grade.components[i].type_index);
        EXPECT_EQ(read.components[i].data_format, grade.components[i].data_format);
        EXPECT_EQ(read.components[i].data, grade.components[i].data);
        ASSERT_EQ(read.components[i].values.has_value(), grade.components[i].values.has_value());
        if (read.components[i].values) {
            EXPECT_EQ(std::memcmp(&*read.components[i].values, &*grade.components[i].values, sizeof(cdl)), 0);
        }
    }
}

TEST_F(GradeFile, WritesNothingThatItCouldNotReadBack) {
    grade_file grade;
    grade.components = {make_component(LUTC_KIND_CDL, 1), make_component(LUTC_KIND_CDL, 2)};
    grade.components[1].values = cdl{{0, 0, 0}, {1, std::numeric_limits<double>::quiet_NaN(), 1}, {1, 1, 1}, 1};
    EXPECT_THROW(write_grade_file(path("look.json"), grade, "look"), failure);
    grade.components.pop_back();
    grade.name = "\xC3";
    EXPECT_THROW(write_grade_file(path("look.json"), grade, "look"), failure);
    EXPECT_TRUE(fs::is_empty(folder_));
}

TEST_F(GradeFile, NamesTheComponentAndTheFieldThatIsWrong) {
    const std::string square = R"({"type":"tpg","patternType":"square","videoFormat":1,"squareSize":1,)";
    const struct {
        std::string components;
        std::string complaint;
    } cases[] = {
        {R"({"type":"cdl","slope":[1,1]})", "component 1: slope: must be a list of three numbers"},
        {R"({"type":"cdl"},{"type":"cdl","power":[1,"1",1]})", "component 2: power: must be numbers only"},
        {R"({"type":"cdl","gain":1})", "component 1: gain: is not a known field here"},
        {R"({"type":"cdl","offset":[0,0,0],"offset":[1,0,0]})", "offset: stands twice in one object"},
        {R"({"type":"cdl","file":"x","slope":[1,1,1]})", "component 1: slope: is not a known field here"},
        {R"({"type":"4dlut"})", "component 1: type: '4dlut' is none of"},
        {R"({"slope":[1,1,1]})", "component 1: type: is missing"},
        {R"({"type":"cdl","typeIndex":0})", "component 1: typeIndex: must be a whole number from 1"},
        {R"({"type":"cdl","typeIndex":1.0})", "component 1: typeIndex: must be a whole number from 1"},
        {R"({"type":"cdl","typeIndex":4294967297})", "component 1: typeIndex: must be a whole number from 1"},
        {R"({"type":"1dlut","file":"x"})", "component 1: dataFormat: is missing"},
        {R"({"type":"1dlut","dataFormat":"f","file":"absent"})", "component 1: file: "},
        {square + R"("fgColor":[65536,0,0],"bgColor":[0,0,0]})", "component 1: fgColor: must be a whole number from 0"},
        {square + R"("fgColor":[0,0,0]})", "component 1: bgColor: is missing"},
        {R"({"type":"tpg","patternType":"bars","videoFormat":1,"squareSize":1})", "component 1: squareSize: is not a"},
        {"7", "component 1: must be an object"},
        {"{", "is no JSON"},
    };
    for (const auto& one : cases) {
        const std::string file = with("{\"components\": [" + one.components + "]}");
        try {
            read_grade_file(file, grade_use::live);
            ADD_FAILURE() << "accepted: " << one.components;
        } catch (const failure& failure) {
            EXPECT_NE(std::string(failure.what()).find(one.complaint), std::string::npos) << failure.what();
            EXPECT_EQ(std::string(failure.what()).find(file), 0u) << failure.what();
        }
    }
}

TEST_F(GradeFile, BackupsStayInTheirFolder) {
    std::ofstream(folder_ / "table.bin") << "x";
    fs::create_directory(folder_ / "sub");
    const std::string absolute = folder_ / "table.bin";
    for (const std::string& name :
         {std::string("../x"), std::string(".."), std::string("sub/../table.bin"), absolute}) {
        const std::string file = with(R"({"components": [{"type":"cdl","file":")" + name + "\"}]}");
        EXPECT_THROW(read_grade_file(file, grade_use::backup), failure) << name;
    }
    const std::string file = with(R"({"components": [{"type":"cdl","file":"sub/../table.bin"}]})");
    EXPECT_EQ(read_grade_file(file, grade_use::preset).components.at(0).data.size(), 1u);
}

}  // namespace

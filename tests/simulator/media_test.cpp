#include "simulator/media.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/simulator/exchange.h"

namespace {

// How the next calls of read and write go: an error each, 0 for none, and at most that many bytes.
struct disk_script {
    std::deque<int> errors;
    std::size_t most = SIZE_MAX;
} disk;

template <class Bytes>
ssize_t transfer(long number, int file, Bytes bytes, std::size_t size) {
    if (!disk.errors.empty()) {
        errno = disk.errors.front();
        disk.errors.pop_front();
        if (errno != 0) return -1;
    }
    return syscall(number, file, bytes, std::min(size, disk.most));
}

}  // namespace

// In place of the C library's.
extern "C" ssize_t read(int file, void* bytes, std::size_t size) { return transfer(SYS_read, file, bytes, size); }
extern "C" ssize_t write(int file, const void* bytes, std::size_t size) {
    return transfer(SYS_write, file, bytes, size);
}

namespace {

namespace fs = std::filesystem;

class Media : public testing::Test {
  protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "lutc-media-XXXXXX").string();
        ASSERT_NE(nullptr, mkdtemp(name.data()));
        folder_ = name;
        service_ = simulator::service(folder_ / "library");
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string call(const std::string& name, const std::string& fields = "{}") {
        return exchange(service_, name, fields);
    }
    void upload(const std::string& name) {
        ASSERT_EQ("{}", call("sendPreset", "{'presetName':'" + name +
                                               "','gradeCombo':[{'typeIndex':2,'type':'3dlut',"
                                               "'dataFormat':'f','data':'hex:0001FF'}]}"));
    }
    fs::path file() const { return folder_ / "library" / simulator::media_file_name; }
    std::string content() const {
        std::ifstream stream(file(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    void write(const std::string& bytes) const { std::ofstream(file(), std::ios::binary) << bytes; }
    std::ptrdiff_t files_in_folder() const { return std::distance(fs::directory_iterator(folder_ / "library"), {}); }

    fs::path folder_;
    simulator::service service_;
};

TEST_F(Media, RefusesBrokenFilesAndKeepsTheLibrary) {
    EXPECT_EQ("6: can't open lutc-presets.bson: No such file or directory", call("loadPresetsFromMedia"));
    upload("A");
    upload("B");
    call("savePresetsToMedia");
    const std::string good = content();
    for (std::size_t size = good.size(); size-- > 0;) {
        fs::resize_file(file(), size);
        ASSERT_EQ("6:", call("loadPresetsFromMedia").substr(0, 2)) << "cut after " << size;
    }
    const auto doctored = [&](const std::string& from, const std::string& to) {
        std::string changed = good;
        changed.replace(changed.rfind(from), from.size(), to);
        write(changed);
        return call("loadPresetsFromMedia");
    };
    const std::string broken = "6: lutc-presets.bson is broken: ";
    write(good + '\0');
    EXPECT_EQ(broken + "something follows the last preset", call("loadPresetsFromMedia"));
    EXPECT_EQ(broken + "two presets are named \"A\"", doctored(std::string("B\0", 2), std::string("A\0", 2)));
    EXPECT_EQ(broken + "\"gradeCombo[0].type\" is \"4dlut\": no such component type", doctored("3dlut", "4dlut"));
    EXPECT_EQ(broken + "\"gradeComboIndex\" is missing", doctored("gradeComboIndex", "gradeComboindex"));
    EXPECT_EQ(broken + "it isn't a preset library of version 1", doctored("lutc presets", "lutc-presets"));
    fs::remove(file());
    fs::create_directory(file());
    EXPECT_EQ("6:", call("loadPresetsFromMedia").substr(0, 2));
    EXPECT_EQ(2, service_.device().presets().size());
}

TEST_F(Media, WhatStandsUnderTheNewNameIsRemovedFirst) {
    upload("A");
    call("savePresetsToMedia");
    const fs::path beside = file().string() + ".new";
    const std::string old = content();
    fs::create_hard_link(file(), folder_ / "kept");
    fs::create_hard_link(file(), beside);
    upload("B");
    EXPECT_EQ("{}", call("savePresetsToMedia"));
    EXPECT_EQ(old.size(), fs::file_size(folder_ / "kept"));
    ASSERT_EQ(0, mkfifo(beside.c_str(), 0600));
    EXPECT_EQ("{}", call("savePresetsToMedia"));
    fs::create_directory(beside);
    EXPECT_EQ("6:", call("savePresetsToMedia").substr(0, 2));
    EXPECT_TRUE(fs::is_directory(beside));
}

TEST_F(Media, ShortTransfersAreContinued) {
    upload("A");
    upload("B");
    const std::string list = call("getPresetsList"), preset = call("getPreset", "{'presetIndex':2}");
    disk = {{EINTR, 0, EINTR}, 7};
    EXPECT_EQ("{}", call("savePresetsToMedia"));
    EXPECT_EQ(1, files_in_folder());
    call("setSelectedPreset", "{'presetIndex':1}");
    call("deletePreset", "{'presetIndex':1}");
    upload("C");
    disk = {{EINTR, 0, EINTR}, 7};
    EXPECT_EQ("{}", call("loadPresetsFromMedia"));
    EXPECT_EQ(list, call("getPresetsList"));
    EXPECT_EQ(preset, call("getPreset", "{'presetIndex':2}"));
    EXPECT_EQ("4: no preset is selected on channel 1", call("getSelectedPreset"));
}

TEST_F(Media, AFailureLeavesFileAndLibrary) {
    upload("A");
    call("savePresetsToMedia");
    const std::string old = content();
    upload("B");
    disk = {{0, 0, ENOSPC}, 7};
    EXPECT_EQ("6: can't write the presets: No space left on device", call("savePresetsToMedia"));
    EXPECT_EQ(1, files_in_folder());
    disk = {{0, 0, EIO}, 7};
    EXPECT_EQ("6: can't read the presets: Input/output error", call("loadPresetsFromMedia"));
    disk = {};
    EXPECT_EQ(2, service_.device().presets().size());

    // A file where the folder should be; a folder that can't be made; none.
    for (const fs::path& bad : {file(), fs::path("/proc/no-media"), fs::path()}) {
        service_ = simulator::service(bad);
        EXPECT_EQ("6:", call("savePresetsToMedia").substr(0, 2));
        EXPECT_EQ("6:", call("loadPresetsFromMedia").substr(0, 2));
        EXPECT_EQ(old, content());
    }
}

}  // namespace

#include "simulator/media.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "simulator/device/problem.h"
#include "simulator/documents.h"
#include "simulator/refusal.h"

namespace simulator {

const char* const media_file_name = "lutc-presets.bson";

namespace {

const char* const temporary_name = "lutc-presets.bson.new";
const char* const format_name = "lutc presets";
constexpr std::int32_t format_version = 1;
constexpr std::uint32_t max_document_size = max_preset_reply_size + 1024;

class descriptor {
  public:
    explicit descriptor(int number) : number_(number) {}
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;
    ~descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    int get() const { return number_; }

  private:
    int number_;
};

[[noreturn]] void fail(const std::string& sentence, int error) {
    throw refusal(reason::media, sentence + ": " + std::generic_category().message(error));
}

void check_folder(const std::string& folder) {
    if (folder.empty()) throw refusal(reason::media, "there is no media");
}

void write_all(int file, const std::vector<unsigned char>& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count = ::write(file, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno != EINTR) fail("can't write the presets", errno);
        if (count > 0) done += static_cast<std::size_t>(count);
    }
}

void write_library(int file, const preset_library& presets) {
    bsonDocument head;
    head.addStringElement("format", format_name);
    head.addInt32Element("version", format_version);
    head.addInt32Element("presets", presets.size());
    write_all(file, encode(head));
    for (std::int32_t index = 1; index <= presets.size(); ++index) {
        const preset& content = presets.at(index);
        bsonDocument document;
        document.addStringElement("presetName", content.name);
        write_grade(document, content.grade_combo_index, content.components);
        write_all(file, encode(document));
    }
    if (::fsync(file) != 0) fail("can't store the presets", errno);
}

[[noreturn]] void refuse_broken(const std::string& why) {
    throw refusal(reason::media, std::string(media_file_name) + " is broken: " + why);
}

// As many bytes as the file still has, up to size.
std::size_t read_up_to(int file, unsigned char* bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::read(file, bytes + done, size - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail("can't read the presets", errno);
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

std::unique_ptr<bsonDocument> read_document(int file) {
    std::vector<unsigned char> bytes(4);
    if (read_up_to(file, bytes.data(), 4) != 4) refuse_broken("it ends too early");
    std::uint32_t size = 0;
    for (unsigned i = 0; i < 4; ++i) size |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
    if (size < 5 || size > max_document_size) refuse_broken("a document has an impossible length");
    bytes.resize(size);
    if (read_up_to(file, bytes.data() + 4, size - 4) != size - 4) refuse_broken("it ends too early");
    auto document = std::make_unique<bsonDocument>(bytes.data(), size, true, false);
    if (document->convertMessageToElementList(true) != 1) refuse_broken("it holds an invalid document");
    return document;
}

preset read_preset(const fields& from, const device_model& model) {
    preset content;
    content.name = from.text("presetName", 0, model::max_text_size);
    content.grade_combo_index = from.index("gradeComboIndex", model.grade_combinations.size(), "grade combination");
    content.components = read_components(from, used_in::media);
    check_readable(content.components);
    return content;
}

preset_library read_library(int file, const device_model& model) {
    const auto head = read_document(file);
    const fields about(*head);
    if (about.string("format") != format_name || about.int32("version") != format_version)
        refuse_broken("it isn't a preset library of version " + std::to_string(format_version));
    const std::int32_t count = about.int32("presets");
    if (count < 0 || count > static_cast<std::int32_t>(model::library_capacity))
        refuse_broken("it tells an impossible number of presets");
    preset_library presets;
    while (presets.size() < count) presets.store(0, read_preset(fields(*read_document(file)), model));
    unsigned char more = 0;
    if (read_up_to(file, &more, 1) != 0) refuse_broken("something follows the last preset");
    return presets;
}

}  // namespace

void save_library(const std::string& folder, const preset_library& presets) {
    check_folder(folder);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) fail("can't make the media folder", error.value());
    const descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() < 0) fail("can't open the media folder", errno);
    if (::flock(directory.get(), LOCK_EX | LOCK_NB) != 0) fail("the media folder is in use", errno);

    // One fixed name: whatever the sudden end of a process or somebody else left there goes, unless it is a folder.
    ::unlinkat(directory.get(), temporary_name, 0);
    const descriptor file(
        ::openat(directory.get(), temporary_name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
    if (file.get() < 0) fail("can't write to the media folder", errno);
    try {
        write_library(file.get(), presets);
        if (::renameat(directory.get(), temporary_name, directory.get(), media_file_name) != 0)
            fail("can't replace the presets", errno);
    } catch (...) {
        ::unlinkat(directory.get(), temporary_name, 0);
        throw;
    }
    if (::fsync(directory.get()) != 0) fail("can't store the media folder", errno);
}

void load_library(const std::string& folder, device_state& device) {
    check_folder(folder);
    const std::string path = folder + "/" + media_file_name;
    const descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (file.get() < 0) fail(std::string("can't open ") + media_file_name, errno);
    struct stat about {};
    if (::fstat(file.get(), &about) != 0 || !S_ISREG(about.st_mode)) refuse_broken("it isn't a file");
    try {
        device.presets() = read_library(file.get(), device.model());
    } catch (const refusal& why) {
        if (why.why() == reason::media) throw;
        refuse_broken(why.what());
    } catch (const problem& why) {
        refuse_broken(why.what());
    }
}

}  // namespace simulator

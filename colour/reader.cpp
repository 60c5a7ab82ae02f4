#include "colour/reader.h"

#include <OpenColorIO/OpenColorIO.h>
#include <signal.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include "colour/edl.h"
#include "colour/error.h"
#include "colour/file_check.h"
#include "colour/text_file.h"

namespace colour {

namespace OCIO = OCIO_NAMESPACE;

namespace {

// The text with every run of blanks as one, and without blanks and points at its end.
std::string join_lines(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const bool is_blank = std::isspace(static_cast<unsigned char>(c)) != 0;
        if (!is_blank) line += c;
        if (is_blank && !line.empty() && line.back() != ' ') line += ' ';
    }
    line.erase(line.find_last_not_of(" .") + 1);
    return line;
}

// What the reader says is wrong, without the path, which may be that of a copy, and whose name stands ahead of it anyhow.
std::string cause_of(const std::string& path, std::string cause) {
    const std::string remark = "Does not appear to contain a valid ASC CDL XML:";
    if (const std::size_t at = cause.find(remark); at != std::string::npos) cause.erase(0, at + remark.size());
    for (const std::string& place : {" (" + path + ")", ": '' in " + path, " File: " + path, "' in " + path}) {
        for (std::size_t at = cause.find(place); at != std::string::npos; at = cause.find(place, at)) {
            cause.erase(at, place.size());
        }
    }
    return join_lines(cause);
}

// Hears what the reader remarks while this lives, and keeps its warnings. When a file is none of the format that its
// name says, the reader would try every other one, some at ten times the cost: the listener stops it there.
class listener {
  public:
    explicit listener(std::vector<std::string>& warnings) {
        ::unsetenv("OCIO_LOGGING_LEVEL");  // it would outrank the level set here
        OCIO::SetLoggingLevel(OCIO::LOGGING_LEVEL_DEBUG);
        OCIO::SetLoggingFunction([&warnings](const char* remark) { take(remark, warnings); });
    }
    listener(const listener&) = delete;
    listener& operator=(const listener&) = delete;
    ~listener() {
        OCIO::ResetToDefaultLoggingFunction();
        OCIO::SetLoggingLevel(OCIO::LOGGING_LEVEL_NONE);
    }

  private:
    static void take(const std::string& remark, std::vector<std::string>& warnings) {
        const std::string ordinary = "[OpenColorIO Debug]:";
        if (remark.compare(0, ordinary.size(), ordinary) != 0) return warnings.push_back(remark);
        const std::string failed = "Failed primary format ";  // not a path that has these words
        const std::size_t at = std::min(remark.find_first_not_of(" \t", ordinary.size()), remark.size());
        if (remark.compare(at, failed.size(), failed) == 0)
            throw OCIO::Exception(remark.substr(remark.find(": ", at) + 2).c_str());
    }
};

// "NAME(LINE): TEXT" as ", line LINE: TEXT"; others as they are.
std::string tidy_warning(std::string warning) {
    const std::string prefix = "[OpenColorIO Warning]: ";
    if (warning.compare(0, prefix.size(), prefix) == 0) warning.erase(0, prefix.size());
    const std::size_t end = warning.find("): ");
    const std::size_t begin = end == std::string::npos ? end : warning.rfind('(', end);
    if (begin == std::string::npos) return ": " + join_lines(warning);
    return ", line " + warning.substr(begin + 1, end - begin - 1) + ": " + join_lines(warning.substr(end + 3));
}

// A clip's name beside its ColorCorrection, and the name of a CLF: they carry no grade.
bool is_harmless(const std::string& warning) {
    return warning.find("'MediaRef' where its parent is 'ColorDecision'") != std::string::npos ||
           warning.find("'Id' where its parent is 'ProcessList'") != std::string::npos;
}

// The file that the reader is given, by its absolute path: the one that was checked, or, where its text had to be
// changed, a copy of the same name in a folder of its own, for as long as this lives: signals wait for its end.
class readable_copy {
  public:
    readable_copy(const std::string& path, const std::string& text) : path_(std::filesystem::absolute(path)) {
        std::error_code failed;
        if (std::filesystem::file_size(path, failed) == text.size()) return;
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
        try {
            write(path, text);
        } catch (...) {
            pthread_sigmask(SIG_SETMASK, &before_, nullptr);
            throw;
        }
    }
    readable_copy(const readable_copy&) = delete;
    readable_copy& operator=(const readable_copy&) = delete;
    ~readable_copy() {
        std::error_code ignored;
        if (folder_.empty()) return;
        std::filesystem::remove_all(folder_, ignored);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

    const std::string& path() const { return path_; }

  private:
    void write(const std::string& path, const std::string& text) {
        std::error_code failed;
        folder_ = std::filesystem::temp_directory_path() / "lutc-XXXXXX";
        if (mkdtemp(folder_.data()) == nullptr) {
            folder_.clear();
            throw error(path + ": can't be copied: " + std::strerror(errno));
        }
        path_ = folder_ + "/" + std::filesystem::path(path).filename().string();
        std::ofstream file(path_, std::ios::binary);
        if (!file.write(text.data(), static_cast<std::streamsize>(text.size())).flush()) {
            std::filesystem::remove_all(folder_, failed);
            throw error(path + ": can't be copied to " + path_);
        }
    }

    sigset_t before_;
    std::string folder_;
    std::string path_;
};

std::vector<correction> read_corrections(const std::string& path) {
    const std::string text = read_text(path);
    if (extension_of(path) == ".edl") return parse_edl(path, text);
    std::vector<correction> corrections;
    read_colour_file(path, [&](const std::string& readable) {
        const OCIO::GroupTransformRcPtr group = OCIO::CDLTransform::CreateGroupFromFile(readable.c_str());
        for (int i = 0; i < group->getNumTransforms(); ++i) {
            const auto cdl = OCIO::DynamicPtrCast<OCIO::CDLTransform>(group->getTransform(i));
            if (!cdl) continue;
            correction& added = corrections.emplace_back(correction{cdl->getID(), {}});
            cdl->getSlope(added.values.slope.data());
            cdl->getOffset(added.values.offset.data());
            cdl->getPower(added.values.power.data());
            added.values.saturation = cdl->getSat();
        }
    });
    return corrections;
}

}  // namespace

void guard_reader(const std::string& name, const std::string& path, const std::function<void()>& read) {
    std::vector<std::string> warnings;
    std::string cause;
    try {
        const listener listening(warnings);
        read();
    } catch (const OCIO::Exception& exception) {
        cause = exception.what();
    }
    const auto first = std::find_if_not(warnings.begin(), warnings.end(), is_harmless);
    if (first != warnings.end()) throw content_error(name + tidy_warning(*first));
    if (!cause.empty()) throw content_error(name + ": " + cause_of(path, cause));
}

std::optional<cube_file> read_colour_file(const std::string& path,
                                          const std::function<void(const std::string&)>& read) {
    file_facts facts = check_colour_file(path);
    if (facts.cube) return std::move(facts.cube);
    const readable_copy copy(path, facts.text);
    try {
        guard_reader(path, copy.path(), [&] { read(copy.path()); });
    } catch (const content_error& refused) {
        const std::string message = refused.what();
        const bool says_where = message.find("line ", path.size()) != std::string::npos ||
                                message.find("ine (", path.size()) != std::string::npos;
        if (says_where || facts.lines == 0) throw;
        throw content_error(message + " (its last line is " + std::to_string(facts.lines) + ")");
    }
    return {};
}

cdl_values read_cdl_file(const std::string& path, const std::string& id) {
    const std::vector<correction> corrections = read_corrections(path);
    if (corrections.empty()) throw content_error(path + ": the file holds no ColorCorrection, ASC_SOP or ASC_SAT");
    if (id.empty() && corrections.size() == 1) return corrections.front().values;
    std::string ids;
    const correction* numbered = nullptr;  // taken when no correction has "#N" as its id
    for (std::size_t i = 0; i < corrections.size(); ++i) {
        const std::string number = "#" + std::to_string(i + 1);
        if (!id.empty() && corrections[i].id == id) return corrections[i].values;
        if (number == id) numbered = &corrections[i];
        ids += (i == 0 ? "" : ", ") + (corrections[i].id.empty() ? number : corrections[i].id);
    }
    if (numbered != nullptr) return numbered->values;
    if (id.empty()) throw content_error(path + ": several entries; give --id with one of: " + ids);
    throw content_error(path + ": no entry '" + id + "'; there are: " + ids);
}

}  // namespace colour

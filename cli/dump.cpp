// lutc dump
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include <lutc/bsonDocument.h>
#include "cli/bson_diagnosis.h"
#include "cli/commands.h"
#include "cli/files.h"
#include "cli/output.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

constexpr std::size_t document_limit = 256u << 20;

// What the document's own dump writes to standard output, caught in a file.
std::string caught_dump(const bsonDocument& document) {
    std::fflush(stdout);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    const int terminal = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    if (!file || terminal < 0 || dup2(fileno(file.get()), STDOUT_FILENO) < 0) {
        throw Failure(exit_refused, "no temporary file for the dump");
    }
    document.debugPrint(0);
    const bool written = std::fflush(stdout) == 0;
    dup2(terminal, STDOUT_FILENO);
    close(terminal);
    if (!written) throw Failure(exit_refused, "the dump can't be written to a temporary file");
    std::rewind(file.get());
    std::string text;
    char buffer[1 << 14];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get())) text.append(buffer, count);
    return text;
}

ordered_json lines_of(const std::string& text) {
    ordered_json lines = ordered_json::array();
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        lines.push_back(text.substr(begin, end - begin));
        begin = end == std::string::npos ? text.size() : end + 1;
    }
    return lines;
}

Failure defective(const std::string& path, const Defect& defect, const char* consequence) {
    return Failure(exit_usage,
                   path + ": at byte " + std::to_string(defect.position) + ": " + defect.reason + consequence);
}

void dump(const Context& context, const std::string& file) {
    const std::vector<unsigned char> bytes = read_file(file, document_limit);
    const std::string path = file == "-" ? "standard input" : file;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    if (!bsonDocument::isMessageValid(bytes.data(), size, false)) {
        const auto defect = find_defect(bytes.data(), bytes.size());
        throw defective(path, defect.value_or(Defect{0, "is no BSON document"}), "");
    }
    bsonDocument document(bytes.data(), size, false, false);
    if (document.convertMessageToElementList(true) != 1) {
        const auto defect = find_unknown_type(bytes.data(), bytes.size());
        throw defective(path, defect.value_or(Defect{0, "can't be decoded"}), "");
    }
    if (context.json) {
        print_result(context, {{"bytes", size}, {"dump", lines_of(caught_dump(document))}});
    } else {
        document.debugPrint(0);
    }
    // An embedded document is decoded as far as it goes, without a word.
    if (const auto unknown = find_unknown_type(bytes.data(), bytes.size())) {
        throw defective(path, *unknown, "; the dump leaves out what follows in that embedded document");
    }
}

}  // namespace

void add_dump_command(CLI::App& app, Context& context) {
    auto path = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("dump", "Print a BSON document, or say why it is none");
    command->add_option("file", *path, "A file with one document; - for standard input")->required();
    command->callback([path, &context] { dump(context, *path); });
}

}  // namespace lutc_cli

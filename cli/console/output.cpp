#include "cli/console/output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "cli/console/service_answer.h"
#include "terminal/json_value.h"

namespace lutc_cli {

using nlohmann::ordered_json;

namespace {

std::string write_text(const ordered_json& value) {
    if (value.is_string()) return printable(value.get<std::string>());
    if (value.is_null()) return "-";
    if (!value.is_array()) return write_json(value, -1);
    std::string text;
    for (const ordered_json& item : value) text += (text.empty() ? "" : " ") + write_text(item);
    return text.empty() ? "-" : text;
}

std::size_t count_columns(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

bool changes_device(const std::string& call) {
    return call.compare(0, 9, "lutc_get_") != 0 && call != "lutc_preset_list" && call != "lutc_recv_preset" &&
           call != "lutc_model_info";
}

// The members of the first row are the columns.
void print_table(std::FILE* to, const ordered_json& rows) {
    std::vector<std::vector<std::string>> lines(1);
    for (const auto& member : rows.front().items()) lines[0].push_back(member.key());
    for (const ordered_json& row : rows) {
        lines.emplace_back();
        for (const ordered_json& cell : row) lines.back().push_back(write_text(cell));
    }
    std::vector<std::size_t> widths(lines[0].size(), 0);
    for (const auto& line : lines) {
        for (std::size_t i = 0; i < line.size() && i < widths.size(); ++i) {
            widths[i] = std::max(widths[i], count_columns(line[i]));
        }
    }
    for (const auto& line : lines) {
        std::string text = " ";
        for (std::size_t i = 0; i < line.size(); ++i) {
            text += " " + line[i];
            if (i + 1 < line.size()) text += std::string(widths[i] - count_columns(line[i]) + 1, ' ');
        }
        std::fprintf(to, "%s\n", text.c_str());
    }
}

}  // namespace

std::string write_json(const ordered_json& value, int indent) {
    return lutc_terminal::printable_json(value.dump(indent, ' ', false, ordered_json::error_handler_t::replace));
}

failure explain(const std::exception& error) {
    if (const auto* const known = dynamic_cast<const failure*>(&error)) return *known;
    if (dynamic_cast<const lutc_terminal::content_error*>(&error) != nullptr) return {exit_usage, error.what()};
    const auto* const failed = dynamic_cast<const lutc::error*>(&error);
    if (failed == nullptr) return {exit_refused, error.what()};
    const int cause = failed->code().value();
    if (cause == ECONNREFUSED) return {exit_nobody, "no service listens on 127.0.0.1:54440"};
    const std::optional<service_answer> answer = cause == EREMOTEIO ? last_answer() : std::nullopt;
    if (answer) {
        const std::string code = "refused (" + std::to_string(answer->code) + ")";
        return {exit_refused, answer->message.empty() ? code : code + ": " + answer->message};
    }
    const bool is_lost = cause == ETIMEDOUT || cause == ECONNRESET || cause == EPROTO || cause == ENOMEM;
    if (!is_lost || !changes_device(failed->call())) return {exit_refused, lutc::reason(cause)};
    return {exit_refused, lutc::reason(cause) + "; it may have been performed: look before you try again"};
}

void print_result(const output_style& style, const ordered_json& result) {
    std::FILE* const to = style.to_stderr ? stderr : stdout;
    if (style.json) {
        const ordered_json shown = result.is_null() ? ordered_json({{"done", true}}) : result;
        std::fprintf(to, "%s\n", write_json(shown, 2).c_str());
        return;
    }
    for (const auto& [key, value] : result.items()) {
        if (value.is_array() && !value.empty() && value.front().is_object()) {
            std::fprintf(to, "%s:\n", key.c_str());
            print_table(to, value);
        } else {
            std::fprintf(to, "%s: %s\n", key.c_str(), write_text(value).c_str());
        }
    }
}

void print_done(const output_style& style) { print_result(style, nullptr); }

bool is_utf8(const std::string& text) {
    try {
        static_cast<void>(ordered_json(text).dump());
        return true;
    } catch (const ordered_json::type_error&) {
        return false;
    }
}

void print_error(const std::string& message) {
    std::fflush(stdout);
    std::fprintf(stderr, "lutc: %s\n", printable(message).c_str());
}

void print_notice(const std::string& message) { print_error("note: " + message); }

void confirm(bool yes, const std::string& question) {
    if (yes) return;
    if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
        throw failure(exit_usage, question + " Give --yes to do it without being asked");
    }
    std::fprintf(stderr, "%s [y/N] ", printable(question).c_str());
    char answer[16] = {};
    const bool answered = std::fgets(answer, sizeof answer, stdin) != nullptr;
    if (!answered || (answer[0] != 'y' && answer[0] != 'Y')) {
        throw failure(exit_refused, "not confirmed: nothing was changed");
    }
}

bool flush_output() { return std::fflush(stdout) == 0 && std::ferror(stdout) == 0; }

}  // namespace lutc_cli

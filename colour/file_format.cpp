#include "colour/file_format.h"

#include <algorithm>
#include <iterator>

#include "colour/error.h"
#include "colour/text_file.h"

namespace colour {
namespace {

constexpr file_format formats[] = {{".cube", file_kind::cube, ""},
                                   {".3dl", file_kind::plain_text, ""},
                                   {".csp", file_kind::plain_text, "csplutv100"},
                                   {".clf", file_kind::xml, "ProcessList"},
                                   {".ctf", file_kind::xml, "ProcessList"},
                                   {".spi1d", file_kind::plain_text, "version"},
                                   {".spi3d", file_kind::plain_text, "spilut"},
                                   {".cc", file_kind::xml, "ColorCorrection"},
                                   {".ccc", file_kind::xml, "ColorCorrectionCollection"},
                                   {".cdl", file_kind::xml, "ColorDecisionList"},
                                   {".edl", file_kind::edl, ""}};

[[noreturn]] void refuse_name(const std::string& path) {
    std::string names;
    for (const file_format& format : formats) names += (names.empty() ? "" : ", ") + std::string(format.extension);
    throw content_error(path + ": not the name of a colour file; they end in " + names);
}

// What other readers would take a plain text or XML for: an ICC profile by its 36th byte, or a Truelight cube.
bool is_another_format(std::string_view text) {
    constexpr std::string_view truelight = "# truelight";
    return text.substr(std::min<std::size_t>(36, text.size()), 4) == "acsp" ||
           lower_case(text.substr(0, truelight.size())) == truelight;
}

}  // namespace

const file_format& find_format(const std::string& path, std::string_view text) {
    const std::string extension = extension_of(path);
    const auto has_extension = [&](const file_format& format) { return extension == format.extension; };
    const auto* const format = std::find_if(std::begin(formats), std::end(formats), has_extension);
    if (format == std::end(formats)) refuse_name(path);
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string_view::npos) throw content_error(path + ": the file is empty");
    const std::string_view beginning = format->beginning;
    const bool is_xml = text[begin] == '<';
    const bool fits = is_xml == (format->kind == file_kind::xml) && text.find('\0') == std::string_view::npos &&
                      (is_xml || lower_case(text.substr(begin, beginning.size())) == beginning);
    if (!fits || is_another_format(text)) throw content_error(path + ": its content is no " + format->extension);
    return *format;
}

}  // namespace colour

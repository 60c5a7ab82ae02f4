// The formats of colour files that are read, and no others: the reader (OpenColorIO) knows more, and tries them all.
#ifndef LUTC_COLOUR_FILE_FORMAT_H
#define LUTC_COLOUR_FILE_FORMAT_H

#include <string>
#include <string_view>

namespace colour {

enum class file_kind { cube, edl, plain_text, xml };

struct file_format {
    const char* extension;
    file_kind kind;
    const char* beginning;  // of a plain text, in small letters; of XML the root
};

// The format of a file by its name. Throws content_error when there is none, and for a content that is none of its
// kind. An XML's root is not looked at.
const file_format& find_format(const std::string& path, std::string_view text);

}  // namespace colour

#endif

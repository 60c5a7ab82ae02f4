// The ASC_SOP and ASC_SAT comments of edit decision lists.
#ifndef LUTC_COLOUR_EDL_H
#define LUTC_COLOUR_EDL_H

#include <string>
#include <string_view>
#include <vector>

#include "colour/values.h"

namespace colour {

struct correction {
    std::string id;  // possibly empty
    cdl_values values;
};

// One for each event that has such a comment; its id is the event's number, as it is written. Throws content_error, with
// the line, for a comment that is malformed, stands twice in an event or ahead of the first, and for values that can't
// be applied.
std::vector<correction> parse_edl(const std::string& path, std::string_view text);

}  // namespace colour

#endif

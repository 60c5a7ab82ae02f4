// Documents as the log shows them.
#ifndef LUTC_TERMINAL_DESCRIPTION_H
#define LUTC_TERMINAL_DESCRIPTION_H

#include <string>

#include <lutc/bsonDocument.h>

namespace lutc_terminal {

// A document's fields on one line of a log, such as: channelIndex=1 data=[14 bytes 00 01 02 ...]. Long ones are cut.
// The fields that are the same in every message are left out.
std::string describe(const bsonDocument& document);

}  // namespace lutc_terminal

#endif

// Text that came from outside, fit for one line.
#ifndef LUTC_SIMULATOR_DEVICE_TEXT_H
#define LUTC_SIMULATOR_DEVICE_TEXT_H

#include "terminal/text.h"

namespace simulator {

using lutc_terminal::escape;
using lutc_terminal::quote;

}  // namespace simulator

#endif

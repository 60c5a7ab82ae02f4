// The device's media: the whole preset library in one file of a folder.
//
// The file "lutc-presets.bson" is a sequence of BSON documents. The first says {"format": "lutc presets", "version": 1,
// "presets": N}; N documents follow, one for each preset in list order: "presetName", "gradeComboIndex", "gradeCombo".
#ifndef LUTC_SIMULATOR_MEDIA_H
#define LUTC_SIMULATOR_MEDIA_H

#include <string>

#include "simulator/device/device_state.h"

namespace simulator {

extern const char* const media_file_name;

// Both refuse an empty folder: there is no media then.

// Writes the library; the folder is made when it isn't there. The file is replaced in one step after the new one is
// safely stored: whatever happens, even the end of the process, leaves the old library or the new one. Throws a
// refusal (reason media) that says what failed; the old file is then untouched, unless all that failed is storing the
// folder's entry for the new one.
void save_library(const std::string& folder, const preset_library& presets);

// Makes it the device's library. A file that is missing, broken, longer than it says, or holds anything that the device would have
// refused, throws a refusal (reason media).
void load_library(const std::string& folder, device_state& device);

}  // namespace simulator

#endif

// What a device begins with, from files: another model, and the presets of a backup.
#ifndef LUTC_SIMULATOR_START_FILES_H
#define LUTC_SIMULATOR_START_FILES_H

#include <string>
#include <vector>

#include "simulator/device/device_state.h"

namespace simulator {

// Both throw std::invalid_argument that names the file, the place in it and what is wrong there, and std::system_error
// for a file that can't be read.

// A JSON file with the fields of "lutc model --json", and "options", "inputs" and "outputs". What it leaves out is as it
// is in the simulated device.
device_model read_device(const std::string& path);

// A folder that "lutc presets backup" has written. No file but those of the folder itself is read.
std::vector<preset> read_backup(const std::string& folder, const device_model& model);

}  // namespace simulator

#endif

// Colour files in a tool that was built without OpenColorIO, libpng or expat.
#include "cli/colour_files.h"
#include "cli/output.h"

namespace lutc_cli {
namespace {

[[noreturn]] void refuse() {
    throw Failure(EXIT_REFUSED,
                  "colour files need OpenColorIO, libpng and expat, and this lutc was built without them");
}

}  // namespace

cdl read_cdl_file(const std::string& /*path*/, const std::string& /*id*/) { refuse(); }
void pack_lut(const Context& /*context*/, const PackOptions& /*options*/) { refuse(); }
void plot_lut(const std::string& /*file*/, const std::string& /*output*/) { refuse(); }
void plot_cdl(const cdl& /*values*/, const std::string& /*output*/) { refuse(); }

}  // namespace lutc_cli

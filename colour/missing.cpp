// In a build without OpenColorIO, libpng or expat.
#include "colour/error.h"
#include "colour/plot.h"

namespace colour {
namespace {

[[noreturn]] void refuse() {
    throw error("colour files need OpenColorIO, libpng and expat, and this lutc was built without them");
}

}  // namespace

cdl_values read_cdl_file(const std::string& /*path*/, const std::string& /*id*/) { refuse(); }
colour_transform read_lut_file(const std::string& /*path*/) { refuse(); }
colour_transform make_cdl_transform(const cdl_values& /*values*/) { refuse(); }
lut_table make_table(const colour_transform& /*transform*/, std::size_t /*size*/) { refuse(); }
double find_largest_error(const colour_transform& /*transform*/, const lut_table& /*table*/, bool /*clipped*/) {
    refuse();
}
std::vector<unsigned char> plot(const colour_transform& /*transform*/, bool /*with_slices*/) { refuse(); }

}  // namespace colour

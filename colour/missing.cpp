// In a build without OpenColorIO, libpng, expat or cairo.
#include "colour/error.h"
#include "colour/grade.h"
#include "colour/image_png.h"
#include "colour/plot.h"
#include "colour/reader.h"

namespace colour {
namespace {

[[noreturn]] void refuse() {
    throw error("colour files need OpenColorIO, libpng, expat and cairo, and this lutc was built without them");
}

}  // namespace

cdl_values read_cdl_file(const std::string& /*path*/, const std::string& /*id*/) { refuse(); }
colour_transform read_lut_file(const std::string& /*path*/) { refuse(); }
colour_transform make_cdl_transform(const cdl_values& /*values*/) { refuse(); }
lut_table make_table(const colour_transform& /*transform*/, std::size_t /*size*/) { refuse(); }
double find_largest_error(const colour_transform& /*transform*/, const lut_table& /*table*/, bool /*clipped*/) {
    refuse();
}
std::vector<unsigned char> plot(const colour_transform& /*transform*/, bool /*is_svg*/) { refuse(); }

lut_table read_table(const grade_component& /*component*/) { refuse(); }
std::string find_obstacle(const grade_component& /*component*/) { refuse(); }
std::vector<grade_step> list_steps(const std::vector<std::string>& /*combination*/,
                                   const std::vector<grade_component>& /*components*/,
                                   const obstacle_finder& /*find*/) {
    refuse();
}
std::vector<grade_step> list_steps(const std::vector<grade_component>& /*components*/) { refuse(); }
image_rows grade_rows(image_rows /*source*/, const std::vector<grade_step>& /*steps*/, const grade_view& /*view*/) {
    refuse();
}
image decode_png(std::istream& /*file*/, const std::string& /*name*/) { refuse(); }
image read_png(const std::string& /*path*/) { refuse(); }
std::vector<unsigned char> encode_png(const image_rows& /*rows*/, int /*depth*/) { refuse(); }

}  // namespace colour

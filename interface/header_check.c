/* lutc.h is complete and valid on its own as strict C. */
#include <lutc/lutc.h>

typedef int lutc_header_check_in_c;

/* Programs are compiled with these values, so that changing one breaks them. */
_Static_assert(LUTC_PRESET_NAME_SIZE == 32 && LUTC_GRADE_COMBO_SLOTS == 4 && LUTC_MAX_VIDEO_CONNECTIONS == 8 &&
                   LUTC_MODEL_STRING_BUFFER_SIZE == 1024,
               "limits");
_Static_assert(LUTC_KIND_CDL == 0 && LUTC_KIND_SATURATION == 1 && LUTC_KIND_LUT_1D == 2 && LUTC_KIND_LUT_3D == 3 &&
                   LUTC_KIND_TEST_PATTERN == 4,
               "kinds of grade components");
_Static_assert(LUTC_VIDEO_INPUT == 0 && LUTC_VIDEO_CHANNEL == 1 && LUTC_VIDEO_OUTPUT == 2, "ends of video connections");

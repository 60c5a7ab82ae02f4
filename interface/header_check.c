/* lutc.h is complete and valid on its own as strict C. */
#include <lutc/lutc.h>

typedef int lutc_header_check_in_c;

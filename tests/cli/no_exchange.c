/* Preloaded: a file system that can't exchange two names. */
#include <errno.h>

__attribute__((visibility("default"))) int renameat2(int from_folder, const char* from, int to_folder, const char* to,
                                                     unsigned flags) {
    (void)from_folder, (void)from, (void)to_folder, (void)to, (void)flags;
    errno = EINVAL;
    return -1;
}

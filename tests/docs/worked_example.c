/* The call of the protocol's worked example; prints what it gave. */
#include <lutc/lutc.h>
#include <stdio.h>

int main(void) {
    char name[LUTC_PRESET_NAME_SIZE + 1] = "";
    int index = 0;
    if (lutc_get_preset(2, name, &index) != 0) return 1;
    printf("%s %d\n", name, index);
    return 0;
}

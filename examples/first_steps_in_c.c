/* The library of presets, end to end: lists it, stores a look, shows it, reads it back, and says why a call failed. */
#include <errno.h>
#include <lutc/lutc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int fail(const char* call) {
    printf("%s: %s\n", call, errno == EREMOTEIO ? "the service refused it (its log says why)" : strerror(errno));
    return 1;
}

int main(void) {
    presetEntry* presets = NULL;
    int count = 0, maximum = 0;
    if (lutc_preset_list(&presets, &count, &maximum) != 0) return fail("lutc_preset_list");
    for (int i = 0; i < count; ++i) {
        printf("%s\n", presets[i].presetName);
        for (int slot = 0; slot < LUTC_GRADE_COMBO_SLOTS; ++slot) free(presets[i].gradeCombo.slots[slot]);
    }
    free(presets);

    cdl warm = {.slope = {1.1, 1.0, 0.9}, .power = {1.0, 1.0, 1.0}, .saturation = 1.0};
    const gradeComponent look = {.kind = LUTC_KIND_CDL, .typeIndex = 1, .cdlValues = &warm};
    if (lutc_send_preset("first steps", 0, 0, 1, false, 0, &look, 1) != 0) return fail("lutc_send_preset");
    char name[LUTC_PRESET_NAME_SIZE + 1] = "";
    int index = 0;
    if (lutc_set_preset(1, "first steps", 0) != 0) return fail("lutc_set_preset");
    if (lutc_get_preset(1, name, &index) != 0) return fail("lutc_get_preset");
    printf("channel 1 shows \"%s\"\n", name);

    gradeComponent back = {0};
    count = 1;
    if (lutc_recv_preset("first steps", 0, NULL, &back, &count) != 0) return fail("lutc_recv_preset");
    const int is_same = count == 1 && back.cdlValues != NULL && memcmp(back.cdlValues, &warm, sizeof warm) == 0;
    printf("what came back is %s\n", is_same ? "what was sent" : "something else");
    free(back.cdlValues);
    free(back.data);
    free(back.dataFormat);

    if (lutc_delete_preset("first steps", 0) != 0) return fail("lutc_delete_preset");
    if (lutc_recv_preset("first steps", 0, NULL, &back, &count) != 0) fail("reading it once more");
    return 0;
}

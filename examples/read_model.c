/* Prints what the device is: its name, its grade combinations and its channels. */
#include <lutc/lutc.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
    char model[LUTC_MODEL_STRING_BUFFER_SIZE];
    char name[LUTC_MODEL_STRING_BUFFER_SIZE];
    char serial[LUTC_MODEL_STRING_BUFFER_SIZE];
    gradeCombo* combos = NULL;
    gradeChannel* channels = NULL;
    int combo_count = 0;
    int channel_count = 0;
    if (lutc_model_info(model, name, serial, &combos, &combo_count, &channels, &channel_count) != 0) {
        fprintf(stderr, "read_model: no usable answer from the service\n");
        return 1;
    }

    printf("%s \"%s\", serial %s\n", model, name, serial);
    for (int i = 0; i < combo_count; ++i) {
        printf("combination %d:", i + 1);
        for (int slot = 0; slot < LUTC_GRADE_COMBO_SLOTS && combos[i].slots[slot] != NULL; ++slot) {
            printf(" %s", combos[i].slots[slot]);
            free(combos[i].slots[slot]);
        }
        printf("\n");
    }
    for (int i = 0; i < channel_count; ++i) {
        printf("channel %d \"%s\" supports combinations", i + 1, channels[i].channelName);
        for (int slot = 0; slot < LUTC_GRADE_COMBO_SLOTS; ++slot) {
            if (channels[i].supportedGradeComboIndices[slot] > 0) {
                printf(" %d", (int)channels[i].supportedGradeComboIndices[slot]);
            }
        }
        printf("\n");
    }
    free(combos);
    free(channels);
    return 0;
}

/*
 * Calls every function of the library once, in strict C, and prints what each returned.
 *
 *   all_functions [OPTION]     OPTION: the name of a device option that can be set (default: friendlyName)
 *
 * It replaces the preset library by the one on the media, so run it against the simulator or a device of your
 * own. Exit: 0 when every call succeeded, 1 otherwise.
 */
#include <lutc/lutc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

static void report(const char* function, int result) {
    printf("%-28s %s\n", function, result == 0 ? "done" : "FAILED");
    if (result != 0) ++failures;
}

static void free_combo(gradeCombo* combo) {
    for (int i = 0; i < LUTC_GRADE_COMBO_SLOTS; ++i) free(combo->slots[i]);
}

/* Whether the combination has a place for components of a type, such as "cdl". */
static bool has(const gradeCombo* combo, const char* type) {
    for (int i = 0; i < LUTC_GRADE_COMBO_SLOTS; ++i) {
        if (combo->slots[i] != NULL && strcmp(combo->slots[i], type) == 0) return true;
    }
    return false;
}

/* The first combination of channel 1 that holds a CDL and a 3D LUT, counted from 1; else 1. */
static int read_device(void) {
    char model[LUTC_MODEL_STRING_BUFFER_SIZE] = "";
    gradeCombo* combos = NULL;
    gradeChannel* channels = NULL;
    int combo_count = 0;
    int channel_count = 0;
    int found = 1;
    report("lutc_model_info", lutc_model_info(model, NULL, NULL, &combos, &combo_count, &channels, &channel_count));
    printf("    %s: %d combinations, %d channels\n", model, combo_count, channel_count);
    for (int i = LUTC_GRADE_COMBO_SLOTS - 1; channel_count > 0 && i >= 0; --i) {
        const int index = channels[0].supportedGradeComboIndices[i];
        if (index < 1 || index > combo_count) continue;
        if (has(&combos[index - 1], "cdl") && has(&combos[index - 1], "3dlut")) found = index;
    }
    for (int i = 0; i < combo_count; ++i) free_combo(&combos[i]);
    free(combos);
    free(channels);
    return found;
}

static cdl values = {{0.01, 0.0, -0.01}, {1.0, 1.0, 1.0}, {1.1, 1.0, 0.9}, 0.95};
static unsigned char table[17 * 17 * 17 * 6];
static char format[] = "uint16";

static void send_grades(int combination) {
    const testPattern square = {"square", 1, 0.25, {65535, 32768, 0}, {0, 0, 0}};
    gradeComponent live[2];
    memset(live, 0, sizeof live);
    live[0].kind = LUTC_KIND_CDL;
    live[0].typeIndex = 1;
    live[0].cdlValues = &values;
    live[1].kind = LUTC_KIND_TEST_PATTERN;
    live[1].pattern = &square;
    report("lutc_send_combination", lutc_send_combination(1, true, combination));
    report("lutc_send_cdl", lutc_send_cdl(1, 1, false, &values));
    report("lutc_send_saturation", lutc_send_saturation(1, 1, false, 0.9));
    report("lutc_send_lut", lutc_send_lut(1, 1, false, "3dlut", format, table, (int)sizeof table));
    report("lutc_send_live", lutc_send_live(1, combination, true, live, 2));
}

static void send_presets(int combination) {
    gradeComponent components[2];
    memset(components, 0, sizeof components);
    components[0].kind = LUTC_KIND_CDL;
    components[0].typeIndex = 1;
    components[0].cdlValues = &values;
    components[1].kind = LUTC_KIND_LUT_3D;
    components[1].typeIndex = 1;
    components[1].dataFormat = format;
    components[1].data = table;
    components[1].dataSize = (int32_t)sizeof table;
    report("lutc_delete_all_presets", lutc_delete_all_presets());
    report("lutc_send_preset", lutc_send_preset("all functions", 0, 1, combination, true, 1, components, 2));
    /* The second one goes to the front of the list, so the first one becomes number 2. */
    report("lutc_send_preset", lutc_send_preset("another", 0, 1, combination, false, 0, components, 1));
}

static void read_presets(void) {
    presetEntry* presets = NULL;
    int count = 0;
    int capacity = 0;
    report("lutc_preset_list", lutc_preset_list(&presets, &count, &capacity));
    for (int i = 0; i < count; ++i) {
        printf("    %d of at most %d: %s\n", i + 1, capacity, presets[i].presetName);
        free_combo(&presets[i].gradeCombo);
    }
    free(presets);

    gradeComponent received[4];
    memset(received, 0, sizeof received);
    int combination = 0;
    int received_count = 4;
    report("lutc_recv_preset", lutc_recv_preset("all functions", 0, &combination, received, &received_count));
    for (int i = 0; i < received_count; ++i) {
        printf("    component %d: kind %d, %d bytes\n", i + 1, (int)received[i].kind, (int)received[i].dataSize);
        free(received[i].data);
        free(received[i].dataFormat);
        free(received[i].cdlValues);
    }
}

static void edit_presets(void) {
    char name[LUTC_PRESET_NAME_SIZE + 1] = ""; /* 32 bytes are written; the 33rd ends the string */
    int index = 0;
    report("lutc_rename_preset", lutc_rename_preset("another", 0, "the other"));
    report("lutc_move_preset", lutc_move_preset("the other", 0, 2));
    report("lutc_set_preset", lutc_set_preset(1, "all functions", 0));
    report("lutc_get_preset", lutc_get_preset(1, name, &index));
    printf("    channel 1 shows %d: %s\n", index, name);
    report("lutc_set_override_preset", lutc_set_override_preset(NULL, 1));
    report("lutc_get_override_preset", lutc_get_override_preset(name, &index));
    printf("    the override is %d: %s\n", index, name);
    report("lutc_set_override_preset", lutc_set_override_preset(NULL, 0));
    report("lutc_save_presets_to_media", lutc_save_presets_to_media());
    report("lutc_delete_preset", lutc_delete_preset("the other", 0));
    report("lutc_load_presets_from_media", lutc_load_presets_from_media());
}

static void control_device(const char* option) {
    char value[256] = "";
    int state = 0;
    videoConnection connections[LUTC_MAX_VIDEO_CONNECTIONS];
    const videoConnection route = {LUTC_VIDEO_INPUT, 1, LUTC_VIDEO_CHANNEL, 1};
    int connection_count = 0;
    memset(connections, 0, sizeof connections);
    report("lutc_set_state", lutc_set_state(1, 1));
    report("lutc_get_state", lutc_get_state(&state, 1));
    printf("    state %d\n", state);
    report("lutc_set_video_connection", lutc_set_video_connection(&route));
    report("lutc_get_video_connections", lutc_get_video_connections(connections, &connection_count));
    for (int i = 0; i < connection_count; ++i) {
        printf("    %d:%d to %d:%d\n", (int)connections[i].sourceType, (int)connections[i].sourceIndex,
               (int)connections[i].destinationType, (int)connections[i].destinationIndex);
    }
    report("lutc_get_option", lutc_get_option(option, value, sizeof value - 1));
    printf("    %s is %s\n", option, value);
    report("lutc_set_option", lutc_set_option(option, value));
}

int main(int argc, char** argv) {
    report("lutc_client_info", lutc_client_info("all_functions", "1.0", "0001"));
    const int combination = read_device();
    send_grades(combination);
    send_presets(combination);
    read_presets();
    edit_presets();
    control_device(argc > 1 ? argv[1] : "friendlyName");
    return failures == 0 ? 0 : 1;
}

/*
 * lutc: control of a video colour-processing device - presets, grades, channels, routing, options.
 *
 * Conventions
 *
 *  1. Results. Every function returns 0 on success, with errno as it was before, and -1 on every failure, with the
 *     reason in errno, unless the function says otherwise. The service's own code is not passed on.
 *
 *       EINVAL        an argument is refused; the service was not contacted
 *       ECONNREFUSED  nobody listens
 *       ETIMEDOUT     no answer in time, or the command was not taken in time, or the connect took too long
 *       ECONNRESET    the connection ended before an answer began; an event is no answer
 *       EPROTO        an answer came that is no valid message, breaks off, doesn't fit, or lacks what is read from it
 *       EREMOTEIO     the service refused: its "code" is not 0
 *       EOVERFLOW     the command is too long to encode (4 GiB); the service was not contacted
 *       ENOMEM        no memory
 *       others        as the system says: EMFILE, ENFILE and so on
 *
 *     A call that changes something and fails with ETIMEDOUT, ECONNRESET, EPROTO or ENOMEM may have been performed: its
 *     answer was lost.
 *  2. Outputs are written only on success. After -1 every buffer and variable has the contents that it had before.
 *  3. Arguments. A pointer that is not described as "or NULL" is required: when it is NULL the function fails with
 *     EINVAL, as it does for a negative size and for a NULL buffer with a positive size. An output that is described as
 *     "or NULL: not wanted" is not read from the answer either.
 *  4. Indices of 0 or less (channels, presets, slots, combinations, positions) mean "not given" and are not sent,
 *     unless the function says otherwise. Indices count from 1 where the service doesn't say otherwise.
 *  5. Names of presets and channels have at most 32 bytes. A preset is addressed by name or by index: a name, when it
 *     is not NULL, wins, also when it is empty; a name of more than 32 bytes is refused (EINVAL). Without a name the
 *     index is sent when it is 1 or more.
 *  6. Strings are zero-terminated. The library neither checks nor converts their encoding; the service uses UTF-8.
 *     Numbers of an answer are int32, an int64 that fits, or a boolean (0, 1); lists are arrays or embedded documents.
 *  7. Ownership. The library keeps no pointer to anything that it was given once the call has returned. Memory that a
 *     call hands out was allocated with malloc, calloc or strdup, is the caller's, and goes back with free.
 *  8. Threads. There is no state between calls and nothing to initialise: any number of threads may call at once.
 *  9. Time. A call blocks its thread until the service has answered: up to 15 seconds for the first byte of an answer,
 *     and again for each message of another kind (an event) that arrives before it. 10 milliseconds of silence end a
 *     message. In front of that stand the connect (5 seconds at most with the stand-in for the RPC client library) and
 *     the writing of the command, which fails when the service takes nothing of it for 15 seconds. A service that works
 *     is far from these limits. One that means harm can hold a call for longer: as long as it sends events, 15 seconds
 *     for each piece of the command, 10 milliseconds for each byte of the answer (10 seconds for 1 KiB, 6 hours for
 *     2 MiB).
 *     Signals neither end nor lengthen a wait. A thread can't be cancelled inside a call; it is cancelled after it.
 * 10. The process. No output, no environment, no signal dispositions, no threads, no SIGPIPE, no descriptor that a
 *     child inherits, and no C++ exception leaves a call.
 * 11. Memory. An answer is read into a buffer of 1 KiB (512 KiB for lutc_preset_list, 2 MiB for lutc_recv_preset), and
 *     what is handed out is copied from there. Payloads that are sent (LUT tables) are not copied: a call that sends
 *     one needs a few KiB, whatever its size.
 */
#ifndef LUTC_INTERFACE_LUTC_H
#define LUTC_INTERFACE_LUTC_H

#include <stdbool.h>
#include <stdint.h>

#if defined(__GNUC__)
#define LUTC_EXPORT __attribute__((visibility("default")))
#else
#define LUTC_EXPORT
#endif

#ifdef __cplusplus
#define LUTC_NOEXCEPT noexcept
extern "C" {
#else
#define LUTC_NOEXCEPT
#endif

/* ---- Records ---------------------------------------------------------------------------------------------------- */

enum {
    LUTC_PRESET_NAME_SIZE = 32,          /* the most bytes of a preset or channel name, its terminator not counted */
    LUTC_GRADE_COMBO_SLOTS = 4,          /* strings in a gradeCombo, indices in a gradeChannel */
    LUTC_MAX_VIDEO_CONNECTIONS = 8,      /* records that lutc_get_video_connections may write */
    LUTC_MODEL_STRING_BUFFER_SIZE = 1024 /* always enough for each string of lutc_model_info */
};

/* The kind of a gradeComponent. */
enum {
    LUTC_KIND_CDL = 0,        /* CDL; downloaded: a CDL or saturation as bytes */
    LUTC_KIND_SATURATION = 1, /* saturation; downloaded: a CDL or saturation as values */
    LUTC_KIND_LUT_1D = 2,
    LUTC_KIND_LUT_3D = 3,
    LUTC_KIND_TEST_PATTERN = 4 /* lutc_send_live alone */
};

/* The end of a video connection. */
enum { LUTC_VIDEO_INPUT = 0, LUTC_VIDEO_CHANNEL = 1, LUTC_VIDEO_OUTPUT = 2 };

/* The parameters of the ASC Color Decision List; [0], [1], [2] are the colour components (red, green, blue). */
typedef struct cdl {
    double offset[3];
    double power[3];
    double slope[3];
    double saturation;
} cdl;

/* The settings of a test pattern. */
typedef struct testPattern {
    const char* patternType; /* the pattern's name; "square" alone has the three last fields */
    int32_t videoFormat;     /* the service's number of the video format */
    double squareSize;       /* size of the square */
    uint16_t fgColor[3];     /* foreground colour, 0 to 65535 for each component; */
    uint16_t bgColor[3];     /* background colour: the service decides what is which */
} testPattern;

/* One component of a grade. Only the fields that its kind uses are read. */
typedef struct gradeComponent {
    int32_t kind;        /* LUTC_KIND_... ; a component of any other kind is sent with its typeIndex alone */
    unsigned char* data; /* the payload: the LUT table; for kinds 0 and 1 their values as bytes, without cdlValues */
    int32_t dataSize;    /* bytes at data, 0 or more */
    int32_t typeIndex;   /* slot among the components of its type; 0 or less: not sent */
    char* dataFormat;    /* kinds 2 and 3: the name of the table's format */
    cdl* cdlValues;      /* kinds 0 and 1: the values, or NULL to send data instead */
    const testPattern* pattern; /* kind 4: the pattern's settings */
} gradeComponent;

/* The strings that name one grade combination; unused slots are NULL. Of a longer list the first four are kept. */
typedef struct gradeCombo {
    char* slots[LUTC_GRADE_COMBO_SLOTS];
} gradeCombo;

/* One preset of the library's list. */
typedef struct presetEntry {
    char presetName[LUTC_PRESET_NAME_SIZE + 1]; /* cut to 32 bytes; always terminated, zero-filled */
    int32_t gradeComboIndex;                    /* index into the model's list of grade combinations */
    struct gradeCombo gradeCombo;               /* that combination's strings */
} presetEntry;

/* One grade channel of the device. */
typedef struct gradeChannel {
    char channelName[LUTC_PRESET_NAME_SIZE + 1];                /* cut to 32 bytes; always terminated, zero-filled */
    int32_t supportedGradeComboIndices[LUTC_GRADE_COMBO_SLOTS]; /* 0 in unused places; of more, the first four */
} gradeChannel;

/* One video connection; types are LUTC_VIDEO_..., indices the service's. */
typedef struct videoConnection {
    int32_t sourceType;
    int32_t sourceIndex;
    int32_t destinationType;
    int32_t destinationIndex;
} videoConnection;

/* ---- The preset library as a whole ------------------------------------------------------------------------------- */

/*
 * Loads the preset library that is stored on the device's media. What becomes of the presets that are there is the
 * service's decision. Sends "loadPresetsFromMedia".
 */
LUTC_EXPORT int lutc_load_presets_from_media(void) LUTC_NOEXCEPT;

/* Stores the preset library on the device's media. Sends "savePresetsToMedia". */
LUTC_EXPORT int lutc_save_presets_to_media(void) LUTC_NOEXCEPT;

/* Deletes every preset of the library; what is on the media is the service's affair. Sends "deleteAllPresets". */
LUTC_EXPORT int lutc_delete_all_presets(void) LUTC_NOEXCEPT;

/*
 * Reads the list of presets. Sends "getPresetsList".
 *
 * presets             receives a new array of records in list order; with a count of 0 possibly NULL. Free every
 *                     string of every record's gradeCombo that is not NULL, then the array.
 * presetCount         receives the number of records.
 * maxPresetsListSize  receives the largest number of presets that the library may hold.
 *
 * EPROTO also when any field of the list is missing or of another type.
 */
LUTC_EXPORT int lutc_preset_list(presetEntry** presets, int* presetCount, int* maxPresetsListSize) LUTC_NOEXCEPT;

/*
 * Deletes one preset. Sends "deletePreset" with "presetName" or "presetIndex".
 *
 * presetName, presetIndex  the preset, by name (or NULL) or by index.
 */
LUTC_EXPORT int lutc_delete_preset(const char* presetName, int presetIndex) LUTC_NOEXCEPT;

/*
 * Renames one preset. Sends "renamePreset" with "presetName" or "presetIndex", then "newName".
 *
 * presetName, presetIndex  the preset, by name (or NULL) or by index.
 * newName                  its new name, sent as it is: the service decides on its length.
 */
LUTC_EXPORT int lutc_rename_preset(const char* presetName, int presetIndex, const char* newName) LUTC_NOEXCEPT;

/*
 * Moves one preset within the list. Sends "movePreset" with "presetName" or "presetIndex", then "toIndex".
 *
 * presetName, presetIndex  the preset, by name (or NULL) or by index.
 * toIndex                  its new place in the list; sent whatever its value.
 */
LUTC_EXPORT int lutc_move_preset(const char* presetName, int presetIndex, int toIndex) LUTC_NOEXCEPT;

/* ---- Selected and override presets -------------------------------------------------------------------------------- */

/*
 * Reads the preset that a channel shows. Sends "getSelectedPreset" with "channelIndex".
 *
 * channelIndex  the channel; 0 or less: none is named.
 * presetName    buffer of at least 32 bytes. Exactly 32 are written: the name, zero-filled. A name of 32 bytes or more
 *               has no terminator in them; the byte after them is never written, so a caller that wants one supplies a
 *               33rd byte set to 0.
 * presetIndex   receives the preset's index.
 *
 * EPROTO also when the answer lacks one of the two, or has it with another type.
 */
LUTC_EXPORT int lutc_get_preset(int channelIndex, char* presetName, int* presetIndex) LUTC_NOEXCEPT;

/*
 * Selects the preset that a channel shows. Sends "setSelectedPreset" with "channelIndex", then "presetName" or
 * "presetIndex".
 *
 * channelIndex             the channel; 0 or less: none is named.
 * presetName, presetIndex  the preset, by name (or NULL) or by index.
 */
LUTC_EXPORT int lutc_set_preset(int channelIndex, const char* presetName, int presetIndex) LUTC_NOEXCEPT;

/* Reads the override preset; arguments and failures as in lutc_get_preset. Sends "getOverridePreset". */
LUTC_EXPORT int lutc_get_override_preset(char* presetName, int* presetIndex) LUTC_NOEXCEPT;

/*
 * Sets the override preset. Sends "setOverridePreset" with "presetName" or "presetIndex".
 *
 * presetName, presetIndex  the preset, by name (or NULL) or by index. Here an index of 0 is sent too.
 */
LUTC_EXPORT int lutc_set_override_preset(const char* presetName, int presetIndex) LUTC_NOEXCEPT;

/* ---- Grades ------------------------------------------------------------------------------------------------------ */

/*
 * Chooses the grade combination of a channel. Sends "sendGradeCombo" with "channelIndex", "resetAndApply",
 * "gradeComboIndex".
 *
 * channelIndex     the channel; 0 or less: none is named.
 * resetAndApply    asks the service to start from a neutral grade and to apply this at once. What that resets, and
 *                  what is shown without it, is the service's decision.
 * gradeComboIndex  index into the model's list of grade combinations; sent whatever its value.
 */
LUTC_EXPORT int lutc_send_combination(int channelIndex, bool resetAndApply, int gradeComboIndex) LUTC_NOEXCEPT;

/*
 * Sends CDL values to a channel. Sends "sendCDL" with "channelIndex", "resetAndApply", "cdlIndex", "power", "slope",
 * "offset", "saturation".
 *
 * channelIndex   the channel; 0 or less: none is named.
 * cdlIndex       the CDL's slot; 0 or less: none is named.
 * resetAndApply  as in lutc_send_combination.
 * cdlValues      the values; only read.
 */
LUTC_EXPORT int lutc_send_cdl(int channelIndex, int cdlIndex, bool resetAndApply, const cdl* cdlValues) LUTC_NOEXCEPT;

/*
 * Sends a saturation to a channel. Sends "sendSaturation" with "channelIndex", "resetAndApply", "saturationIndex",
 * "saturation".
 *
 * channelIndex     the channel; 0 or less: none is named.
 * saturationIndex  the saturation's slot; 0 or less: none is named.
 * resetAndApply    as in lutc_send_combination.
 * saturation       1.0 leaves the picture as it is, 0.0 gives greys.
 */
LUTC_EXPORT int lutc_send_saturation(int channelIndex, int saturationIndex, bool resetAndApply,
                                     double saturation) LUTC_NOEXCEPT;

/*
 * Sends a whole grade to a channel for immediate use, without storing it. Sends "sendLive" with "channelIndex",
 * "gradeComboIndex", "resetAndApply", "gradeCombo".
 *
 * channelIndex     the channel; 0 or less: none is named.
 * gradeComboIndex  the grade combination; 0 or less: none is named.
 * resetAndApply    as in lutc_send_combination.
 * components       the components in order, test patterns included; only read. NULL only with a count of 0 or less.
 * componentCount   the number of records; 0 or less sends an empty grade.
 *
 * EINVAL also for a LUT (kinds 2, 3) without dataFormat; data that is sent with a negative dataSize, or NULL with a
 * positive one; a test pattern without pattern or patternType. A component of another kind is sent with its typeIndex
 * alone.
 */
LUTC_EXPORT int lutc_send_live(int channelIndex, int gradeComboIndex, bool resetAndApply,
                               const gradeComponent* components, int componentCount) LUTC_NOEXCEPT;

/*
 * Stores a preset. Sends "sendPreset" with "presetName" or "presetIndex", then "toIndex", "gradeComboIndex",
 * "applyPreset", "applyChannel", "gradeCombo".
 *
 * presetName, presetIndex  the preset, by name (or NULL) or by index.
 * toIndex                  its place in the list; 0 or less: not given.
 * gradeComboIndex          its grade combination; 0 or less: not given.
 * applyPreset              also apply it at once.
 * applyChannel             the channel to apply it to; used only with applyPreset, and when 1 or more.
 * components               the components in order; only read. NULL only with a count of 0 or less. A test pattern
 *                          can't be stored: it is sent with its typeIndex alone.
 * componentCount           the number of records; 0 or less stores an empty preset.
 *
 * EINVAL as in lutc_send_live, test patterns excepted. A record that lutc_recv_preset filled is sent by its kind, so
 * values become a saturation and bytes a CDL, whatever they were: set kind to what the component is before you send it.
 */
LUTC_EXPORT int lutc_send_preset(const char* presetName, int presetIndex, int toIndex, int gradeComboIndex,
                                 bool applyPreset, int applyChannel, const gradeComponent* components,
                                 int componentCount) LUTC_NOEXCEPT;

/*
 * Fetches a stored preset. Sends "getPreset" with "presetName" or "presetIndex".
 *
 * presetName, presetIndex  the preset, by name (or NULL) or by index.
 * gradeComboIndex          receives the preset's grade combination, or NULL: not wanted.
 * components               receives the components in order. NULL only with a capacity of 0 or less.
 * componentCount           in: the capacity of components in records. out: the number of records filled, at most the
 *                          capacity; further components are dropped.
 *
 * Fields written in each record, by the component's "type":
 *
 *   "1dlut", "3dlut"                 typeIndex; kind 2 or 3; dataFormat, data and dataSize
 *   "saturation", "cdl" with values  typeIndex; kind 1; cdlValues (what is missing of the triples stays 0.0)
 *   "saturation", "cdl" as bytes     typeIndex; kind 0; data and dataSize
 *   any other                        typeIndex
 *
 * The other fields keep their contents. data, dataFormat and cdlValues are new blocks, overwritten without a look at
 * what they held: free them before you use a record again. Empty data gives NULL and 0.
 *
 * A preset without a list of components has none. EPROTO also when the preset has more than 2 MiB, when a component
 * lacks one of these fields or has it with another type, when the list or an element of it is not a document or holds a
 * value of a type unknown to BSON, and when gradeComboIndex is asked for and missing.
 */
LUTC_EXPORT int lutc_recv_preset(const char* presetName, int presetIndex, int* gradeComboIndex,
                                 gradeComponent* components, int* componentCount) LUTC_NOEXCEPT;

/* ---- The device ---------------------------------------------------------------------------------------------------- */

/*
 * Tells the service who the client is. Sends "sendClientInfo" with "clientModel", "versionNumber", "clientSerial".
 *
 * clientModel    the client's model.
 * versionNumber  its version as text, or NULL.
 * clientSerial   its serial, or NULL.
 */
LUTC_EXPORT int lutc_client_info(const char* clientModel, const char* versionNumber,
                                 const char* clientSerial) LUTC_NOEXCEPT;

/*
 * Reads what the device is. Sends "getModelInfo".
 *
 * modelName, friendlyName, modelSerial  each a buffer that holds the whole string and its terminator, or NULL: not
 *                                       wanted. LUTC_MODEL_STRING_BUFFER_SIZE bytes always suffice.
 * gradeCombos        receives a new array of the grade combinations, or NULL: not wanted. Free every string that is not
 *                    NULL, then the array (which may be NULL with a count of 0).
 * gradeComboCount    receives their number; required with gradeCombos, else not used.
 * gradeChannels      receives a new array of the channels, or NULL: not wanted. Free the array.
 * gradeChannelCount  receives their number; required with gradeChannels, else not used.
 *
 * EPROTO also when a wanted string is missing or not a string, or an element of a wanted list, or a field of it, is
 * missing or of the wrong type. A list that is missing altogether is empty.
 */
LUTC_EXPORT int lutc_model_info(char* modelName, char* friendlyName, char* modelSerial, gradeCombo** gradeCombos,
                                int* gradeComboCount, gradeChannel** gradeChannels,
                                int* gradeChannelCount) LUTC_NOEXCEPT;

/*
 * Reads the colour-transform state of a channel. Sends "getColorTransformState" with "channelIndex".
 *
 * colorTransformState  receives the state, a number of the service's.
 * channelIndex         the channel; 0 or less: none is named.
 *
 * EPROTO also when the answer has no state, or one of another type.
 */
LUTC_EXPORT int lutc_get_state(int* colorTransformState, int channelIndex) LUTC_NOEXCEPT;

/*
 * Sets the colour-transform state of a channel. Sends "setColorTransformState" with "channelIndex",
 * "colorTransformState".
 *
 * colorTransformState  the state, sent whatever its value.
 * channelIndex         the channel; 0 or less: none is named.
 */
LUTC_EXPORT int lutc_set_state(int colorTransformState, int channelIndex) LUTC_NOEXCEPT;

/*
 * Reads the video connections. Sends "getVideoConnections".
 *
 * connections      array of eight records (LUTC_MAX_VIDEO_CONNECTIONS).
 * connectionCount  receives the number of records written, 0 to 8.
 *
 * The first eight connections of the answer are looked at. One that is malformed is skipped; a type that is none of
 * "input", "channel" and "output" leaves that field of its record as it was. An answer without a list gives 0 records.
 * Here a number must be an int32 and a list an array; what isn't is malformed, and no failure.
 */
LUTC_EXPORT int lutc_get_video_connections(videoConnection* connections, int* connectionCount) LUTC_NOEXCEPT;

/*
 * Makes one video connection. Sends "setVideoConnection" with "sourceType", "sourceIndex", "destinationType",
 * "destinationIndex".
 *
 * connection  source: an input or a channel; destination: a channel or an output. A type outside these is not sent,
 *             and the service decides. Both indices are sent whatever their value.
 */
LUTC_EXPORT int lutc_set_video_connection(const videoConnection* connection) LUTC_NOEXCEPT;

/*
 * Reads an option of the device as text. Sends "getOption" with "name".
 *
 * name       the option's name.
 * value      buffer of valueSize bytes, all of which are written: the text, zero-filled. A text of valueSize bytes or
 *            more fills the buffer without a terminator. NULL only with a size of 0.
 * valueSize  size of the buffer in bytes; 0 writes nothing.
 *
 * EPROTO also when the answer has no "value", or one that is not a string.
 */
LUTC_EXPORT int lutc_get_option(const char* name, char* value, uint32_t valueSize) LUTC_NOEXCEPT;

/*
 * Sets an option of the device. Sends "setOption" with "name", "value".
 *
 * name, value  the option's name and its new value as text, sent as they are.
 */
LUTC_EXPORT int lutc_set_option(const char* name, const char* value) LUTC_NOEXCEPT;

#ifdef __cplusplus
}
#endif

/*
 * Sends one LUT to a channel. Sends "sendLut" with "channelIndex", "resetAndApply", "lutIndex", "type", "dataFormat",
 * "data". The one function whose symbol carries its parameter types; C reaches it under that symbol.
 *
 * channelIndex   the channel; 0 or less: none is named.
 * lutIndex       the LUT's slot; 0 or less: none is named.
 * resetAndApply  as in lutc_send_combination.
 * type           the LUT's type, such as "1dlut" or "3dlut".
 * dataFormat     the name of the table's format, one of the service's.
 * data           the table; only read. NULL only with a size of 0.
 * dataSize       bytes at data, 0 or more.
 *
 * EINVAL also for a negative dataSize, and for NULL data with a positive one.
 */
LUTC_EXPORT int lutc_send_lut(int channelIndex, int lutIndex, bool resetAndApply, const char* type,
                              const char* dataFormat, unsigned char* data, int dataSize) LUTC_NOEXCEPT
#ifndef __cplusplus
    __asm__("_Z13lutc_send_lutiibPKcS0_Phi")
#endif
        ;

#endif

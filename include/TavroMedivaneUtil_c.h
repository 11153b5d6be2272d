/* TavroMedivaneUtil_c.h: the library's flat C interface.
 *
 * For callers that cannot use the C++ classes: programs built by another compiler (the classes
 * carry the MinGW C++ ABI on Windows), .NET through P/Invoke, Python through ctypes. Compiles as
 * C99 and as C++. Every function is exported unmangled from TavroMedivaneUtil.dll and
 * libTavroMedivaneUtil.so, and each one wraps the C++ class of the same subsystem without adding
 * behaviour of its own: what is logged, stored and returned is what the class does.
 *
 * Conventions
 *  - Names start with tmu_ (functions, types) or TMU_ (constants).
 *  - Text is UTF-8 (const char*), NUL-terminated, converted to the library's wide text inside.
 *    Text that is not well-formed UTF-8 is refused with TMU_INVALID_ARGUMENT.
 *  - Results are tmu_status values. The configuration functions return the store's own status
 *    codes (TMU_CFG_*), the key-press functions the simulator's (TMU_KPS_*), and every other
 *    function the C interface's own (TMU_OK, TMU_FAILED, ...). Out of memory is always
 *    TMU_OUT_OF_MEMORY. tmu_status_text names any of them.
 *  - A null pointer where an argument is required gives TMU_INVALID_ARGUMENT and a log entry
 *    ("<function>: <argument> is null", at ERROR in the area "TavroMedivaneUtil_c").
 *  - Nothing is thrown, ever: every entry point catches whatever the library below it throws.
 *  - Output text goes to a caller's buffer given as (buffer, capacity, length): on TMU_OK the
 *    buffer holds the text and its terminating NUL, and *length the text's length in bytes
 *    without the NUL. When the text and its NUL do not fit in `capacity` bytes the result is
 *    TMU_BUFFER_TOO_SMALL, *length still receives the text's length (so a buffer of *length + 1
 *    bytes fits), and the buffer is left untouched. A null buffer with capacity 0 only asks for
 *    the length. Arrays of records follow the same rule, counted in records.
 *  - Memory the library allocates for the caller (image bytes, section listings) is freed with
 *    tmu_free, and with nothing else.
 *  - Handles (tmu_config, tmu_button_list, ...) are made by their _open or _create function and
 *    released by their _close or _destroy function, which accepts null.
 *  - Threads: as the wrapped classes (the logger, the configuration handles and the registries
 *    may be shared between threads; a checksum state belongs to one thread at a time).
 *
 *   char value[256];
 *   size_t length;
 *   tmu_config* config;
 *   if (tmu_config_open_default(1, 0, &config) == TMU_CFG_SUCCESS) {
 *     if (tmu_config_get_text(config, "/Tavro/MedivaneSDK/Logging/DefaultLevel", value, sizeof value,
 *                            &length) ==
 *         TMU_CFG_SUCCESS)
 *       tmu_log(TMU_LOG_INFO, "MyArea", "level read", value, __FILE__, __LINE__);
 *     tmu_config_close(config);
 *   }
 */
#ifndef TAVROMEDIVANEUTIL_C_H
#define TAVROMEDIVANEUTIL_C_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(TAVROMEDIVANEUTIL_BUILDING)
#define TMU_API __declspec(dllexport)
#else
#define TMU_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define TMU_API __attribute__((visibility("default")))
#else
#define TMU_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Status codes ------------------------------------------------------------------------ */

typedef int32_t tmu_status;

enum {
  TMU_OK = 0,

  /* The configuration store's codes (CFGStatus), returned by the tmu_config_ functions. */
  TMU_CFG_SUCCESS = 0,
  TMU_CFG_BUFFER_TOO_SMALL = -15,  /* the caller's buffer cannot hold the value */
  TMU_CFG_FILE_OPEN_FAILED = -16,  /* the configuration file could not be opened */
  TMU_CFG_FILE_UTF8 = -17,         /* the file has a UTF-8 byte-order mark and is refused */
  TMU_CFG_CONVERSION_FAILED = -18, /* the value does not convert to the requested type */
  TMU_CFG_NOT_FOUND = -19,         /* key, section or array absent, key empty, or value blank */
  TMU_CFG_WRITE_NOT_ALLOWED = -20, /* set on a handle opened without write permission */
  TMU_CFG_WRITE_FAILED = -21,      /* the file could not be written */
  TMU_CFG_INVALID_PARAMETER = -22, /* a required argument is missing or empty */

  /* The key-press simulator's codes (KPS_Status), returned by the tmu_keys_ functions. */
  TMU_KPS_OK = 0,
  TMU_KPS_INVALID_FORMAT = -40, /* the string breaks the syntax or names an unknown key */
  TMU_KPS_SEND_FAILED = -1000,  /* the system refused the input */

  /* The C interface's own codes, shared by every function. The first three have the store's
   * values on purpose: a configuration call and any other call mean the same by them. */
  TMU_BUFFER_TOO_SMALL = -15, /* the output does not fit; the needed length is reported */
  TMU_NOT_FOUND = -19,        /* no entry under that key */
  TMU_INVALID_ARGUMENT = -22, /* a required pointer is null, or text is not UTF-8 */
  TMU_FAILED = -101,          /* the wrapped call reported failure; the log says why */
  TMU_OUT_OF_MEMORY = -102,   /* memory ran out (the simulator's own -20 included) */
  TMU_INTERNAL_ERROR = -103   /* the library threw something unexpected; nothing was done */
};

/* A short English text naming `status` ("TMU_CFG_NOT_FOUND: ..."); static, never null. An
 * unknown value gives "unknown status". */
TMU_API const char* tmu_status_text(tmu_status status);

/* Frees memory the library allocated for the caller. Null is accepted. */
TMU_API void tmu_free(void* memory);

/* ---- Checksums ------------------------------------------------------------------------- */

/* CRC-32 of ISO-HDLC (zip, PNG): 0xCBF43926 for "123456789". No bytes give 0; `data` may then be
 * null. A null `data` with a non-zero `length` gives 0 and is logged. */
TMU_API uint32_t tmu_crc32(const void* data, size_t length);

/* Incremental CRC-32. The state is the caller's (a null one gives TMU_INVALID_ARGUMENT; so does
 * null `data` with a non-zero `length`); the class's start-value rule holds: `init` is
 * both the register's start and the value XORed into the result (0xFFFFFFFF for the standard
 * CRC-32). tmu_crc32_result keeps the state, so more bytes may follow. */
typedef struct tmu_crc32_state {
  uint32_t opaque[2];
} tmu_crc32_state;
TMU_API tmu_status tmu_crc32_begin(tmu_crc32_state* state, uint32_t init);
TMU_API tmu_status tmu_crc32_update(tmu_crc32_state* state, const void* data, size_t length);
TMU_API uint32_t tmu_crc32_result(const tmu_crc32_state* state); /* 0 for a null state */

/* CRC-16/USB: 0xB4C8 for "123456789". No bytes, or a null `data`, give 0 as for tmu_crc32. */
TMU_API uint16_t tmu_crc16(const void* data, size_t length);

/* Incremental CRC-16. tmu_crc16_final returns the checksum and starts the state again, as the
 * class's Final does, so a second call right after returns 0. */
typedef struct tmu_crc16_state {
  uint16_t opaque[1];
} tmu_crc16_state;
TMU_API tmu_status tmu_crc16_begin(tmu_crc16_state* state);
TMU_API tmu_status tmu_crc16_update(tmu_crc16_state* state, const void* data, size_t length);
TMU_API uint16_t tmu_crc16_final(tmu_crc16_state* state); /* 0 for a null state */

/* ---- Configuration ----------------------------------------------------------------------- */

/* One configuration object (Config) over one file of `key=value` lines. Keys are free text,
 * matched exactly; by convention slash-separated paths ("/Tavro/MedivaneSDK/Logging/DefaultLevel").
 * A section is any key prefix; an array is a set of keys "section[n]...". */
typedef struct tmu_config tmu_config;

/* Opens the default file (the product's configuration folder). `logging` non-zero: the store
 * logs what it does; `writable` non-zero: tmu_config_set may write. Gives TMU_CFG_SUCCESS with a
 * handle even when the file cannot be read or is refused, as the class does: the store is then
 * empty and reads give TMU_CFG_NOT_FOUND. tmu_config_reload(config, 0) right after tells how the
 * file was read (TMU_CFG_FILE_OPEN_FAILED, TMU_CFG_FILE_UTF8). TMU_OUT_OF_MEMORY otherwise. */
TMU_API tmu_status tmu_config_open_default(int logging, int writable, tmu_config** config);
/* Opens the file at `path` (UTF-8) when it can be opened for reading; otherwise, as the class
 * does, the DEFAULT file, which a writable handle then writes. Create a new file (empty) before
 * opening it. Otherwise as tmu_config_open_default. */
TMU_API tmu_status tmu_config_open(const char* path, int logging, int writable, tmu_config** config);
TMU_API void tmu_config_close(tmu_config* config);

/* Reads the file again when it changed since the last read, or always when `force` is non-zero. */
TMU_API tmu_status tmu_config_reload(tmu_config* config, int force);

/* The effective (last) value of `key` as text, in the buffer convention above. TMU_CFG_NOT_FOUND
 * when the key is empty, absent or its value blank. */
TMU_API tmu_status tmu_config_get_text(const tmu_config* config, const char* key, char* buffer,
                                       size_t capacity, size_t* length);
/* The value as a signed integer, as a double, or as an unsigned 64-bit integer in `radix` (2..36,
 * or 0 to follow the text's prefix: 0x hexadecimal, 0 octal). As the class reads numbers: leading
 * blanks, a sign and digits are read and trailing text is ignored ("12abc" gives 12); a zero is
 * accepted only from the exact text "0" (otherwise TMU_CFG_CONVERSION_FAILED). `*value` is
 * written only on success. On Windows the signed value has the range of a 32-bit long. */
TMU_API tmu_status tmu_config_get_long(const tmu_config* config, const char* key, int64_t* value);
TMU_API tmu_status tmu_config_get_double(const tmu_config* config, const char* key, double* value);
TMU_API tmu_status tmu_config_get_uint64(const tmu_config* config, const char* key, int radix,
                                         uint64_t* value);

/* Writes `value` under `key` to the file (the handle must be writable). */
TMU_API tmu_status tmu_config_set(tmu_config* config, const char* key, const char* value);

/* Every key that starts with `section` (a plain prefix: "/A/B" also covers "/A/BC/x"; "" gives
 * every key) with its value, TMU_CFG_NOT_FOUND when there is none; or, for tmu_config_match, the
 * keys under `section` whose last "/" component begins with `name`.
 * On TMU_CFG_SUCCESS, *pairs is a block allocated for the caller (free it with tmu_free) holding
 * *count pairs as NUL-terminated UTF-8 texts, whole key then value ("/A/x\0" "1\0" "/A/y\0"
 * "2\0"), in key order. On any other result *pairs is null and *count 0. */
TMU_API tmu_status tmu_config_section(const tmu_config* config, const char* section, char** pairs,
                                      size_t* count);
TMU_API tmu_status tmu_config_match(const tmu_config* config, const char* section, const char* name,
                                    char** pairs, size_t* count);

/* The distinct indices n of the keys "section[n]...", in the order they first appear along the
 * key text (not numeric order), in the array convention above. `section` must not be empty.
 * As in the class, a key whose index is negative or not a number ("section[x]") makes this call
 * never return: such keys must not stand in a file queried this way. */
TMU_API tmu_status tmu_config_array_indices(const tmu_config* config, const char* section, uint32_t* indices,
                                            size_t capacity, size_t* count);

/* ---- Log ----------------------------------------------------------------------------------- */

/* The levels of an entry. An entry is written when its level is at most the configured threshold
 * or its area is a configured debug area; REPORT is always written. */
enum {
  TMU_LOG_REPORT = 0,
  TMU_LOG_FATAL = 1,
  TMU_LOG_ERROR = 2,
  TMU_LOG_WARN = 3,
  TMU_LOG_INFO = 4,
  TMU_LOG_DEBUG = 5
};

/* Writes one entry to the shared log: `area`, `level` (TMU_LOG_*), `message`, the optional `data`
 * (null for none) and the source location `file` and `line`, as Logger::Log and
 * Logger::LogString write them. As for every caller of the logger, the first "%L" or "%s" inside
 * a message is replaced by the entry template's value (old log readers rely on it). Gives TMU_OK when the
 * entry was handed to the logger (which decides whether it is written), TMU_INVALID_ARGUMENT for a null or
 * malformed text (`data` may be null). The first log call of a process makes its logger and is not
 * synchronised: make it before threads compete. */
TMU_API tmu_status tmu_log(int level, const char* area, const char* message, const char* data,
                           const char* file, int line);
/* 1 when an entry of `level` in `area` would be written, 0 when not or when `area` is null or not
 * UTF-8. */
TMU_API int tmu_log_is_loggable(const char* area, int level);

/* ---- Button registries ----------------------------------------------------------------------- */

/* One entry: the action a hardware button triggers in a window or a process. `window` is the
 * window's handle (HWND) as a pointer. */
typedef struct tmu_button_action {
  void* window;
  int32_t button_type;
  int32_t button_action;
  uint64_t action_data1;
  uint64_t action_data2;
} tmu_button_action;

typedef struct tmu_button_pid_action {
  uint32_t pid;
  int32_t button_type;
  int32_t button_action;
  uint64_t action_data1;
  uint64_t action_data2;
} tmu_button_pid_action;

/* A registry keyed by (window, button type) (ButtonActionInfoList) ... */
typedef struct tmu_button_list tmu_button_list;
/* ... and one keyed by (process id, button type) (ButtonActionInfoPidList). */
typedef struct tmu_button_pid_list tmu_button_pid_list;

/* _create gives TMU_OK and a registry, or TMU_OUT_OF_MEMORY. */
TMU_API tmu_status tmu_button_list_create(tmu_button_list** list);
TMU_API void tmu_button_list_destroy(tmu_button_list* list);
/* Stores a copy of `action` under its key (window, button type). TMU_FAILED when that key has an
 * entry already (remove it first; nothing is logged) or when the registry could not store it
 * (logged). */
TMU_API tmu_status tmu_button_list_add(tmu_button_list* list, const tmu_button_action* action);
/* TMU_NOT_FOUND when there was no entry of that key. */
TMU_API tmu_status tmu_button_list_remove(tmu_button_list* list, void* window, int32_t button_type);
/* Copies the entry of (window, button_type) to *action; TMU_NOT_FOUND (and *action untouched)
 * when there is none. */
TMU_API tmu_status tmu_button_list_get(const tmu_button_list* list, void* window, int32_t button_type,
                                       tmu_button_action* action);
/* Every entry of `window`, in button-type order, in the array convention above. */
TMU_API tmu_status tmu_button_list_get_all(const tmu_button_list* list, void* window,
                                           tmu_button_action* actions, size_t capacity, size_t* count);
/* The registry's report ("Total Actions: <n>\n", then a line per entry), in the buffer
 * convention above. */
TMU_API tmu_status tmu_button_list_report(tmu_button_list* list, char* buffer, size_t capacity,
                                          size_t* length);
/* The number of entries. */
TMU_API size_t tmu_button_list_count(const tmu_button_list* list);

TMU_API tmu_status tmu_button_pid_list_create(tmu_button_pid_list** list);
TMU_API void tmu_button_pid_list_destroy(tmu_button_pid_list* list);
TMU_API tmu_status tmu_button_pid_list_add(tmu_button_pid_list* list, const tmu_button_pid_action* action);
TMU_API tmu_status tmu_button_pid_list_remove(tmu_button_pid_list* list, uint32_t pid, int32_t button_type);
TMU_API tmu_status tmu_button_pid_list_get(const tmu_button_pid_list* list, uint32_t pid, int32_t button_type,
                                           tmu_button_pid_action* action);
/* Every entry of `pid`, in button-type order; tmu_button_pid_list_get_every gives every entry of
 * every process, in (pid, button type) order. */
TMU_API tmu_status tmu_button_pid_list_get_all(const tmu_button_pid_list* list, uint32_t pid,
                                               tmu_button_pid_action* actions, size_t capacity,
                                               size_t* count);
TMU_API tmu_status tmu_button_pid_list_get_every(const tmu_button_pid_list* list,
                                                 tmu_button_pid_action* actions, size_t capacity,
                                                 size_t* count);
TMU_API tmu_status tmu_button_pid_list_report(tmu_button_pid_list* list, char* buffer, size_t capacity,
                                              size_t* length);
TMU_API size_t tmu_button_pid_list_count(const tmu_button_pid_list* list);

/* ---- Key press ------------------------------------------------------------------------------- */

/* One input record the simulator prepares: a key going down (flags 0) or up (flags 2,
 * KEYEVENTF_KEYUP). */
typedef struct tmu_key_record {
  uint16_t virtual_key;
  uint16_t scan_code;
  uint32_t flags;
} tmu_key_record;

/* Checks the syntax of a key string ("{CONTROL}+{ALT}+d") without sending it; problems are
 * logged in `log_area`. TMU_KPS_OK or TMU_KPS_INVALID_FORMAT. */
TMU_API tmu_status tmu_keys_validate(const char* keys, const char* log_area);
/* The records tmu_keys_send would send for `keys`, in the array convention above. With
 * `from_config` non-zero, `keys` is a configuration key whose value is the key string (read from
 * the default configuration; a missing key means no records). A literal string that does not
 * parse gives TMU_KPS_INVALID_FORMAT, its reasons logged in `log_area`. */
TMU_API tmu_status tmu_keys_records(const char* keys, int from_config, const char* log_area,
                                    tmu_key_record* records, size_t capacity, size_t* count);
/* Sends the key presses of `keys` (or of the configuration key, as for tmu_keys_records) to the
 * system in one SendInput call. TMU_KPS_OK also when there is nothing to send; a literal string
 * that does not parse gives TMU_KPS_INVALID_FORMAT. Linux has no input back end: there a
 * non-empty send gives TMU_KPS_SEND_FAILED. */
TMU_API tmu_status tmu_keys_send(const char* keys, int from_config, const char* log_area);

/* ---- Images ------------------------------------------------------------------------------------ */

/* Output formats (mvImageType). */
enum {
  TMU_IMAGE_DEFAULT = 0, /* BMP */
  TMU_IMAGE_BMP = 1,
  TMU_IMAGE_DIB = 2, /* BMP */
  TMU_IMAGE_JPEG = 3,
  TMU_IMAGE_PNG = 4,
  TMU_IMAGE_GIF = 5,
  TMU_IMAGE_TIFF = 6
};

/* The image functions take `source` as the bytes of a whole image file; a null `source` gives
 * TMU_INVALID_ARGUMENT (logged), an empty one TMU_FAILED with the class's "Source buffer is NULL or
 * empty!". Each call works with an ImageUtil of its own on the calling thread, which initialises
 * COM for the call and undoes it afterwards, so the thread's COM state is as the caller left it;
 * the imaging library stays started for the process from the first image call on. A 1-megapixel
 * JPEG converted to PNG takes as long through these functions as through one long-lived
 * ImageUtil, within 5% (README, Performance). */

/* Converts the image file in `source` to `image_type` (ImageUtil::SetImageFormat), with the
 * format's parameters: for JPEG, params[0] is the quality as mvImageFormat.h describes it (other
 * formats read none; `params` may be null when `param_count` is 0). On TMU_OK, *output holds the whole new
 * file (free it with tmu_free) and *output_length its size. TMU_FAILED when the conversion failed (logged),
 * TMU_OUT_OF_MEMORY when its output could not be allocated (the class's "Destination buffer is NULL!",
 * or the copy for the caller); *output is then null and *output_length 0. */
TMU_API tmu_status tmu_image_convert(const void* source, size_t source_length, int image_type,
                                     const uint32_t* params, uint32_t param_count, uint8_t** output,
                                     size_t* output_length);
/* Stretches the image in `source` to `width` x `height` (ImageUtil::SetImageDimensions) and gives
 * a BMP file, as tmu_image_convert gives its output. A source that does not decode gives TMU_OK
 * with an empty output (*output null, length 0), as the class does; so does a size the class
 * does not stretch (a width or height below 1, or more than 100,000,000 pixels in all), which it
 * logs at WARN. */
TMU_API tmu_status tmu_image_resize(const void* source, size_t source_length, int32_t width, int32_t height,
                                    uint8_t** output, size_t* output_length);
/* Places the BMP file in `source` on the clipboard as a device-independent bitmap. TMU_FAILED
 * when it could not (logged; always on Linux, which has no clipboard here). */
TMU_API tmu_status tmu_image_to_clipboard(const void* source, size_t source_length);

/* ---- Sound events ---------------------------------------------------------------------------- */

/* Writes the product's sound events into the user's sound scheme, and removes them again. */
TMU_API tmu_status tmu_sound_register(void);
TMU_API tmu_status tmu_sound_unregister(void);
/* Plays sound event `event` (a SoundEventType value, 0 ".Default" .. 26) through the scheme,
 * stopping a sound that is playing when `interrupt` is non-zero, or dropping this one when it
 * is 0 and a sound is playing. Asynchronous. Problems are logged, not returned. */
TMU_API tmu_status tmu_sound_play(int32_t event, int interrupt);
/* The event number of the scheme name `name` ("Error", ".Default"; exact, case included); of two
 * events of one name, the lower number. TMU_NOT_FOUND when no event has that name. */
TMU_API tmu_status tmu_sound_event_by_name(const char* name, int32_t* event);

/* ---- Dialog layout (Windows only) -------------------------------------------------------------- */

#if defined(_WIN32)
/* Proportional layout of a dialog's controls (DlgResize). Window handles are HWNDs as pointers. */
typedef struct tmu_dialog_layout tmu_dialog_layout;
TMU_API tmu_status tmu_dialog_layout_create(tmu_dialog_layout** layout);
TMU_API void tmu_dialog_layout_destroy(tmu_dialog_layout* layout);
/* Records the initial rectangles of every control of `dialog` (and of `tab`, which may be null). */
TMU_API tmu_status tmu_dialog_layout_init(tmu_dialog_layout* layout, void* dialog, void* tab);
/* Lays the controls out again for the dialog's present size (call it on WM_SIZE). */
TMU_API tmu_status tmu_dialog_layout_size(tmu_dialog_layout* layout);
/* Keeps a control's left edge, top edge, width or height from scaling. */
TMU_API tmu_status tmu_dialog_layout_lock(tmu_dialog_layout* layout, void* control, int lock_x, int lock_y,
                                          int lock_width, int lock_height);
#endif

#ifdef __cplusplus
}
#endif

#endif /* TAVROMEDIVANEUTIL_C_H */

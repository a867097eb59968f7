#ifndef BACKLIGHT_NITS_H
#define BACKLIGHT_NITS_H

/**
 * \file
 * The C library: backlight levels and luminances of panels, from their calibration files.
 *
 * Units: luminance is in nits (cd/m²), coverage is the share of the screen that is lit, 1 to 100 per cent. A *client
 * level* is a backlight level from 0 to bln_range::highest_client_level. A *panel level* is a value that the panel's
 * backlight control accepts. The results are those of the C++ library, bit for bit.
 *
 * Errors: a function returns ::BLN_OK or another ::bln_status. bln_last_error() then has the reason in words. On any
 * error the outputs are unchanged, unless the function's comment says otherwise.
 *
 * Ownership: a function that creates an object has one `_free` function, which accepts null. Texts and arrays that are
 * passed in are read only during the call.
 *
 * Threads: any thread may call any function. Objects that are const in a declaration may be used by several threads at
 * the same time, and so may a panel. A context must not be changed while another thread uses it. No object may be used
 * during or after its `_free`.
 *
 * The host process: the library writes to no stream, changes no working folder, no locale, no signal handler, no
 * rounding mode and no environment variable. It reads numbers with a decimal point in any locale. Conversions assume
 * the default rounding mode (to nearest).
 */

#include <stddef.h>
#include <stdint.h>

/** The version of this header. While this number is the same, programs that were built with an older header work. */
#define BLN_VERSION_MAJOR 1
/** Increases when something is added. */
#define BLN_VERSION_MINOR 0
/** Increases when something is corrected. */
#define BLN_VERSION_PATCH 0

#if defined(__GNUC__)
/** Marks the functions that the library exports. */
#define BLN_API __attribute__((visibility("default")))
#else
#define BLN_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** The result of a function: one of the codes below. */
typedef int32_t bln_status;

enum {
  BLN_OK = 0,               /**< Success. */
  BLN_INVALID_ARGUMENT = 1, /**< A null pointer, a value that is none of the listed ones, or a wrong count. */
  BLN_NOT_FOUND = 2,        /**< No calibration file, or one that cannot be read. */
  BLN_BAD_FILE = 3,         /**< The calibration file is refused. bln_last_error() names the line. */
  BLN_REFUSED = 4,          /**< The panel has no answer: a level or a coverage out of range, or a faulty table. */
  BLN_NO_MEMORY = 5,        /**< An allocation failed. */
  BLN_TOO_SMALL = 6         /**< The caller's array is too small. The count says how many elements are needed. */
};

/** The measured curves that a conversion uses: one of the two below. */
typedef int32_t bln_mode;

enum {
  BLN_STANDARD = 0,       /**< Standard operation. */
  BLN_HIGH_BRIGHTNESS = 1 /**< High-brightness operation (HDR). */
};

/** The test pattern of a measurement, by its coverage: one of the two below. */
typedef int32_t bln_pattern;

enum {
  BLN_ONE_TENTH = 10,   /**< One tenth of the screen lit. */
  BLN_FULL_SCREEN = 100 /**< The full screen lit. */
};

/** How important a log line is: one of the five below. */
typedef int32_t bln_log_level;

enum {
  BLN_LOG_ERROR = 0,   /**< A refusal or a failure. */
  BLN_LOG_WARNING = 1, /**< Something optional is missing, or a file is missing. */
  BLN_LOG_INFO = 2,    /**< A change of state. */
  BLN_LOG_DEBUG = 3,   /**< Details for debugging. */
  BLN_LOG_VERBOSE = 4  /**< A trace within an operation. */
};

/** The level that bln_panel_level_array() writes where the panel has no answer. */
#define BLN_NO_LEVEL UINT32_MAX

/** Where panels are searched, and where log lines go. */
typedef struct bln_context bln_context;
/** One calibration file, loaded, with a dimming state of its own. */
typedef struct bln_panel bln_panel;
/** The luminances of a panel's client levels at one coverage. It never changes. */
typedef struct bln_curve bln_curve;

/** A panel's backlight range, as it stands in the file. */
typedef struct bln_range {
  uint32_t lowest_panel_level;   /**< No computation uses it. */
  uint32_t highest_panel_level;  /**< The dimming LUT has one entry more than this. */
  uint32_t highest_client_level; /**< 0 if the file has none. */
} bln_range;

/**
 * Receives log lines. It is called on the thread that called the library, and while a panel is locked: it must not call
 * the library. In C++, it must not throw.
 * \param line UTF-8 without a line break, at most 1,023 bytes; valid only during the call. It may contain names and
 * paths from outside.
 */
typedef void (*bln_log_function)(void* user_data, bln_log_level level, const char* line);

/* ---- Errors and version ---- */

/**
 * Why the last call on this thread that did not return ::BLN_OK failed: "panel.xml:12: ..." for a faulty file.
 * \return UTF-8 of at most 1,023 bytes, without control characters; never null; empty before the first error. The text
 * stays until the next call on the same thread that fails. Do not free it.
 */
BLN_API const char* bln_last_error(void);

/** The name of a status: "BLN_NO_MEMORY"; "unknown" for any other number. Do not free it. */
BLN_API const char* bln_status_name(bln_status status);

/** The version of the library that is loaded: "1.0.0". Do not free it. */
BLN_API const char* bln_version(void);

/* ---- Contexts ---- */

/**
 * Creates a context without further folders and without a log.
 * \param[out] context free it with bln_context_free().
 * \return ::BLN_OK, ::BLN_INVALID_ARGUMENT or ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_context_create(bln_context** context);

/** Frees a context. Panels that were opened with it stay valid. \param context may be null. */
BLN_API void bln_context_free(bln_context* context);

/**
 * Adds a folder in which bln_panel_open() searches. Folders are searched in the order in which they were added, after
 * the device's own folders.
 * \return ::BLN_OK, ::BLN_INVALID_ARGUMENT (null or empty) or ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_context_add_folder(bln_context* context, const char* folder);

/**
 * Adds the folder `subfolder` of each folder in the environment variable XDG_DATA_DIRS; without the variable, of
 * /usr/local/share and /usr/share. Entries that are not absolute paths are ignored. No other thread may change the
 * environment during the call.
 * \param subfolder a relative path: "my-application/panels".
 * \return ::BLN_OK, ::BLN_INVALID_ARGUMENT (null, empty or absolute) or ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_context_add_xdg_folders(bln_context* context, const char* subfolder);

/**
 * Sets the function that receives the log lines of panels that are opened from now on with this context.
 * \param log null: no log lines. Otherwise it must stay callable as long as one of these panels exists.
 * \param user_data passed to each call of `log`. The library does not use it.
 * \return ::BLN_OK or ::BLN_INVALID_ARGUMENT.
 */
BLN_API bln_status bln_context_set_log(bln_context* context, bln_log_function log, void* user_data);

/* ---- Panels ---- */

/**
 * Loads the calibration file of a panel, backlight_calib_<name>.xml. The folders are /vendor/etc/display,
 * /odm/etc/display (only if the first exists), /usr/data/display (only if it does not), the working folder (if none of
 * these exists), and then those of the context. The first file that can be read is loaded.
 * \param context null: no further folders and no log. It is not used after the call.
 * \param name the panel's name: not empty, without a slash.
 * \param[out] panel free it with bln_panel_free().
 * \return ::BLN_OK, ::BLN_INVALID_ARGUMENT, ::BLN_NOT_FOUND, ::BLN_BAD_FILE or ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_panel_open(const bln_context* context, const char* name, bln_panel** panel);

/**
 * Loads a calibration file of any name. Each call loads the file anew and returns an independent panel.
 * \param context null: no log. It is not used after the call.
 * \param path the file's path, absolute or relative to the working folder.
 * \param[out] panel free it with bln_panel_free().
 * \return as bln_panel_open().
 */
BLN_API bln_status bln_panel_open_file(const bln_context* context, const char* path, bln_panel** panel);

/** Frees a panel. Its curves stay valid. \param panel may be null. */
BLN_API void bln_panel_free(bln_panel* panel);

/**
 * The path of the file that was loaded.
 * \param[out] path valid until the panel is freed. Do not free it.
 * \return ::BLN_OK or ::BLN_INVALID_ARGUMENT.
 */
BLN_API bln_status bln_panel_file(const bln_panel* panel, const char** path);

/** The backlight range. \return ::BLN_OK, ::BLN_INVALID_ARGUMENT or ::BLN_NO_MEMORY. */
BLN_API bln_status bln_panel_range(const bln_panel* panel, bln_range* range);

/**
 * The exponent of the panel's transfer curve, without unit, as it stands in the file.
 * \return ::BLN_OK, ::BLN_INVALID_ARGUMENT or ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_panel_gamma(const bln_panel* panel, double* gamma);

/**
 * The threshold of the colour-correction (PCC) attenuation: a factor, 1.0 if the file has none.
 * \return ::BLN_OK, ::BLN_INVALID_ARGUMENT or ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_panel_threshold(const bln_panel* panel, double* threshold);

/**
 * One of the four measured tables, in the order of the file, unsorted. To learn the count, pass null arrays.
 * \param[out] levels the client level of each point, or null.
 * \param[out] nits the luminance of each point, or null.
 * \param capacity how many elements each array has.
 * \param[out] count how many points the table has; also written with ::BLN_TOO_SMALL.
 * \return ::BLN_OK, ::BLN_TOO_SMALL, ::BLN_INVALID_ARGUMENT or ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_panel_table(const bln_panel* panel, bln_pattern pattern, bln_mode mode, uint32_t* levels,
                                   double* nits, size_t capacity, size_t* count);

/**
 * The dense linear table: element i is the panel level of linearized level i. To learn the count, pass a null array.
 * \param[out] panel_levels the panel levels, or null.
 * \param capacity how many elements the array has.
 * \param[out] count how many levels the table has; also written with ::BLN_TOO_SMALL.
 * \return ::BLN_OK; ::BLN_TOO_SMALL; ::BLN_REFUSED if the file's table has fewer than two pairs, does not rise
 * strictly, does not begin at 0 or ends above 1,048,575; ::BLN_INVALID_ARGUMENT; ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_panel_linear_table(const bln_panel* panel, uint32_t* panel_levels, size_t capacity,
                                          size_t* count);

/* ---- Conversions ---- */

/**
 * The luminance of a client level.
 * \param[out] nits in nits, not rounded.
 * \return ::BLN_OK; ::BLN_REFUSED for a level or a coverage out of range, and if the measured table does not allow
 * interpolation; ::BLN_INVALID_ARGUMENT; ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_panel_nits(const bln_panel* panel, uint32_t level, uint32_t coverage, bln_mode mode,
                                  double* nits);

/**
 * The luminances of `count` client levels, in one call and under one lock.
 * \param levels `count` levels; may be null if `count` is 0.
 * \param[out] nits room for `count` numbers. NaN where the panel has no answer.
 * \param[out] refused how many levels have no answer; may be null.
 * \return ::BLN_OK; ::BLN_REFUSED if the coverage is out of range (nothing is written) or if at least one level has no
 * answer (everything is written, and bln_last_error() names the first one); ::BLN_INVALID_ARGUMENT; ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_panel_nits_array(const bln_panel* panel, const uint32_t* levels, size_t count, uint32_t coverage,
                                        bln_mode mode, double* nits, size_t* refused);

/**
 * The client level for a luminance, as the device's library computes it. Between the measured coverages the round trip
 * through bln_panel_nits() is not exact. Use a curve for an exact one.
 * \param nits any number.
 * \param[out] level with dimming off, it may exceed bln_range::highest_client_level.
 * \return ::BLN_OK; ::BLN_REFUSED for a coverage out of range, if the measured table does not allow interpolation, and
 * if dimming is on but no LUTs are set; ::BLN_INVALID_ARGUMENT; ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_panel_level(const bln_panel* panel, double nits, uint32_t coverage, bln_mode mode,
                                   uint32_t* level);

/**
 * The client levels for `count` luminances, in one call and under one lock.
 * \param nits `count` luminances; may be null if `count` is 0.
 * \param[out] levels room for `count` levels. ::BLN_NO_LEVEL where the panel has no answer.
 * \param[out] refused how many luminances have no answer; may be null.
 * \return as bln_panel_nits_array(), for the reasons of bln_panel_level().
 */
BLN_API bln_status bln_panel_level_array(const bln_panel* panel, const double* nits, size_t count, uint32_t coverage,
                                         bln_mode mode, uint32_t* levels, size_t* refused);

/* ---- Dimming ---- */

/** Whether dimming is on. \param[out] enabled 0 or 1. \return ::BLN_OK, ::BLN_INVALID_ARGUMENT or ::BLN_NO_MEMORY. */
BLN_API bln_status bln_panel_dimming(const bln_panel* panel, int* enabled);

/**
 * Switches dimming on or off, for all who use this panel. While it is on, conversions use the maps computed from the
 * dimming LUTs. Without LUTs every level has 0.0 nits.
 * \param enabled 0: off; any other number: on.
 * \return ::BLN_OK, ::BLN_INVALID_ARGUMENT or ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_panel_set_dimming(bln_panel* panel, int enabled);

/**
 * Sets the two lookup tables of dimming. Does not switch dimming on.
 * \param panel_levels the dimmed panel level of each panel level.
 * \param panel_level_count bln_range::highest_panel_level + 1.
 * \param attenuation a factor on the luminance of each client level.
 * \param attenuation_count bln_range::highest_client_level + 1.
 * \return ::BLN_OK; ::BLN_INVALID_ARGUMENT (null, or a wrong count), and nothing changes; ::BLN_REFUSED or
 * ::BLN_NO_MEMORY, and the four maps are only partly replaced: set LUTs again before dimming is used.
 */
BLN_API bln_status bln_panel_set_dimming_luts(bln_panel* panel, const uint32_t* panel_levels, size_t panel_level_count,
                                              const double* attenuation, size_t attenuation_count);

/* ---- Curves ---- */

/**
 * Samples the luminances of all client levels at one coverage, under one lock. The curve is a snapshot: it does not
 * follow later changes of dimming. It may outlive the panel. Reading it takes no lock and allocates nothing.
 * \param[out] curve free it with bln_curve_free().
 * \return ::BLN_OK; ::BLN_REFUSED as bln_panel_nits() for any level, and if bln_range::highest_client_level is above
 * 1,048,575; ::BLN_INVALID_ARGUMENT; ::BLN_NO_MEMORY.
 */
BLN_API bln_status bln_curve_create(const bln_panel* panel, uint32_t coverage, bln_mode mode, bln_curve** curve);

/** Frees a curve. \param curve may be null. */
BLN_API void bln_curve_free(bln_curve* curve);

/**
 * The curve's own array: element i is the luminance of client level i, in nits.
 * \param[out] nits valid until the curve is freed. Do not change or free it.
 * \param[out] count how many levels there are.
 * \return ::BLN_OK or ::BLN_INVALID_ARGUMENT.
 */
BLN_API bln_status bln_curve_values(const bln_curve* curve, const double** nits, size_t* count);

/**
 * The luminances of `count` client levels: what bln_panel_nits() gave when the curve was sampled, bit for bit.
 * \param levels `count` levels; may be null if `count` is 0.
 * \param[out] nits room for `count` numbers. NaN above the last level.
 * \return ::BLN_OK or ::BLN_INVALID_ARGUMENT.
 */
BLN_API bln_status bln_curve_nits(const bln_curve* curve, const uint32_t* levels, size_t count, double* nits);

/**
 * For each of `count` luminances, the client level whose luminance is nearest. Of two levels at the same distance the
 * lower wins; of levels with the same luminance, the highest. NaN is treated like infinity: the highest level with the
 * greatest luminance. On a curve that rises strictly, the level of each bln_curve_nits() is the same level again.
 * \param nits `count` numbers; may be null if `count` is 0.
 * \param[out] levels room for `count` levels.
 * \return ::BLN_OK or ::BLN_INVALID_ARGUMENT.
 */
BLN_API bln_status bln_curve_levels(const bln_curve* curve, const double* nits, size_t count, uint32_t* levels);

#ifdef __cplusplus
}
#endif

#endif

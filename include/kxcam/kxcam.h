/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kxcam.h
 * @brief Industrial USB cameras: find, open, configure, read.
 *
 * The one public header of libkxcam. It is valid C99 and valid C++ on its own.
 *
 * @section conventions Conventions
 *
 * - Every function returns 0 for success and 1 for failure; no other value occurs. After a failure
 *   #last_error (also CameraGetLastError()) holds the cause, one of #kxcam_error.
 * - A camera is named by its index, 0..255: the position among the attached cameras, in the order
 *   in which the USB stack lists them. An index below 0 or above 255 fails with
 *   #KXCAM_ERROR_INDEX, an index that nothing was opened on with #KXCAM_ERROR_NOT_OPEN.
 * - Outputs are written on success only, unless a function says otherwise. Output pointers must not
 *   be null, unless a function says otherwise.
 * - Images are row-major without padding between rows.
 *
 * @section threads Threads
 *
 * Three terms are used below:
 * - *thread-safe*: may be called at any time from any thread, also for the same camera.
 * - *per-camera*: may be called from any thread, but for one camera by one thread at a time.
 * - *exclusive*: not beside any other *exclusive* call for the same camera. Calls that are already
 *   running for that camera in other threads end cleanly, most of them with an error.
 *
 * A function without a term is thread-safe. #last_error is one word for the whole process: with
 * several threads it holds the last failure of any of them.
 *
 * A call is never cancelled half-way: a thread that `pthread_cancel` ends while it is in a call ends after
 * that call.
 */
#ifndef KXCAM_KXCAM_H
#define KXCAM_KXCAM_H

#include <stdbool.h>
#include <stdint.h>

#if defined(__GNUC__)
#define KXCAM_API __attribute__((visibility("default")))
#else
#define KXCAM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Causes of failure, the values of #last_error. */
enum kxcam_error {
  KXCAM_ERROR_NONE_YET = -1, /**< nothing has failed since the library was loaded */
  KXCAM_ERROR_INDEX = 1,     /**< camera index out of range */
  KXCAM_ERROR_ARGUMENT = 2,  /**< argument out of range, wrong length, size mismatch, reserved GPIO line */
  KXCAM_ERROR_NOT_OPEN = 3,  /**< no camera is open at the index */
  KXCAM_ERROR_NO_DEVICE = 4, /**< the device is not open, or was not found at open */
  KXCAM_ERROR_EMPTY_BUS = 5, /**< no configured device is on the bus */
  KXCAM_ERROR_IN_USE = 6,    /**< the camera index is already in use */
  KXCAM_ERROR_NOT_SUPPORTED = 8,  /**< not supported by this model, sensor or firmware */
  KXCAM_ERROR_READ_REQUEST = 10,  /**< a read request to the camera failed */
  KXCAM_ERROR_WRITE_REQUEST = 11, /**< a write request to the camera failed */
  KXCAM_ERROR_FRAME_SIZE = 12,    /**< the frame is smaller than one byte */
  KXCAM_ERROR_NO_FRAME = 17       /**< no frame within the time-out, or acquisition was stopped */
};

/** Bits of the output-format word of the query functions and CameraISP(). */
enum kxcam_format {
  KXCAM_FORMAT_RAW = 0x1,            /**< sensor samples; tested before grey and colour */
  KXCAM_FORMAT_GREY = 0x2,           /**< one byte per pixel; tested before colour */
  KXCAM_FORMAT_COLOR = 0x4,          /**< three bytes per pixel */
  KXCAM_FORMAT_BGR = 0x100,          /**< with colour: B, G, R instead of R, G, B */
  KXCAM_FORMAT_32BIT = 0x200,        /**< with colour: four bytes per pixel, the fourth is left untouched */
  KXCAM_FORMAT_UNCORRECTED = 0x40000 /**< skip the corrections of the raw frame */
};

/** Settings of a virtual camera; see CameraInitVirtual(). */
typedef struct ISPParam {
  double ccm[9];       /**< colour matrix, row-major; row = output R, G, B */
  double gamma;        /**< 0.3..2.0 */
  double saturation;   /**< 0.0..2.0 */
  double contrast;     /**< 0.3..2.0 */
  double wb_gain_r;    /**< white-balance gain of red, 0.0..3.0 */
  double wb_gain_g;    /**< of green */
  double wb_gain_b;    /**< of blue */
  int32_t black_level; /**< 0..255 */
  uint8_t rotate;      /**< 90 degrees clockwise; this and all below: 0 off, else on */
  uint8_t mirror_x;    /**< left to right */
  uint8_t mirror_y;    /**< top to bottom */
  uint8_t enhancement; /**< `ccm` instead of the identity */
  uint8_t fpn;         /**< even out the fixed pattern */
  uint8_t denoise;     /**< remove single bright pixels */
} ISPParam;

/** Code of the last failure of any call in this process (#kxcam_error); -1 until then. */
extern KXCAM_API int last_error;
/** Value of `LogFile` in the configuration file, "" until it was read. The library writes no log. */
extern KXCAM_API char logfile[256];
/** Value of `PIDFile` in the configuration file, "" until it was read. The library writes no such file. */
extern KXCAM_API char pidfile[256];

/** @name Discovery and versions
 * The configuration file `/etc/kxusb.conf` (or the file that the environment variable `KXUSB_CONF`
 * names, unless the program runs with raised privileges) lists the USB ids that the library may
 * open. Without it no camera is found.
 * @{ */

/** @brief Version of the interface: stores 2019 and 1013. Always succeeds. */
KXCAM_API uint32_t CameraGetVersion(int* major, int* minor);

/** @brief Firmware version word of an open camera; 0 when it could not be read at open. */
KXCAM_API uint32_t CameraGetFirmVersion(int camera, int* version);

/** @brief Number of attached cameras (vendor id 0xA7B7 and listed in the configuration file).
 *
 * Always succeeds: without a configuration file, on an empty bus or when a device may not be opened
 * the count is 0. Takes a few milliseconds per camera: every listed device is opened and closed. */
KXCAM_API uint32_t CameraGetCount(int* count);

/** @brief Serial number and display name of an attached camera, whether or not it is open.
 *
 * @param camera position on the bus, 0..255
 * @param serial receives 16 bytes: 12 characters and four zeros; may be null
 * @param name receives "NAME(INDEX)", the name its owner gave it or else the model name; room for 64
 *        bytes; may be null. Empty when the product id is unknown.
 *
 * Errors: 1; 5 on an empty bus; 10 when a byte of the identity could not be read (the call still
 * succeeds, with zero bytes in its place). A missing configuration file or a device that may not be
 * opened fails without a code. */
KXCAM_API uint32_t CameraGetName(int camera, char* serial, char* name);

/** @brief Row of the model table (0..81; 82: unknown product id) and product id of an attached camera.
 *
 * Either pointer may be null. Errors as CameraGetName(). */
KXCAM_API uint32_t CameraGetID(int camera, int* model_row, int* product_id);

/** @brief Copies #last_error. Always succeeds. */
KXCAM_API uint32_t CameraGetLastError(int* error);
/** @} */

/** @name Opening and closing
 * @{ */

/** @brief Opens a camera, loads the settings stored in its slot 0 and starts streaming at resolution
 * preset 0 (the full sensor).
 *
 * Stored settings are applied one by one; a value out of range, as in a camera that nothing was ever
 * stored in, is passed over. Of the stored switches none is: in such a camera all of them are on, mirror
 * and rotation among them. Settings that cannot be loaded do not fail the call. Takes about half a second on
 * the models that are reset at open. Errors: 1; 6 when the index is open already; 5 on an empty bus; 4 when
 * the camera leaves meanwhile or its model is unknown. An index beyond the cameras on the bus, a missing
 * configuration file or a device that may not be opened fails without a code. Exclusive.
 *
 * The call does not find out whether another program is using the camera, and succeeds if one is: the
 * settings are sent to the camera, the models that are reset at open stop streaming to the other program, and
 * queries in this one fail with #KXCAM_ERROR_NO_FRAME. */
KXCAM_API uint32_t CameraInit(int camera);

/** @brief Opens a camera for register access only: no frame buffers, no reader thread, no streaming.
 *
 * The frame size stays 640 x 480. Errors as CameraInit(). Exclusive. */
KXCAM_API uint32_t CameraInitIO(int camera);

/** @brief Fills an index with a camera without a device, for CameraISP().
 *
 * @param camera index, 0..255; need not be that of an attached camera
 * @param product_id product id of the model whose frames are to be processed; with any other the first
 *        model of the table is taken
 * @param param initial settings; null: all neutral, with a black level of 5. A value out of range leaves that
 *        setting neutral.
 *
 * Frames have the model's full size. All settings that act on the picture work as on a real camera;
 * what needs the device fails with #KXCAM_ERROR_NO_DEVICE. The colour matrix takes effect with the next
 * CameraSetSaturation() or CameraSetEnhancement(): with `enhancement` set, call one of them first, or
 * the picture is black. Needs no configuration file. Errors: 1; 6 when the index is open already.
 * Exclusive. */
KXCAM_API uint32_t CameraInitVirtual(int camera, int product_id, const ISPParam* param);

/** @brief Stops acquisition and closes the camera. Always returns 0.
 *
 * A query that waits in another thread ends with #KXCAM_ERROR_NO_FRAME. Returns after at most about
 * a second. Exclusive. */
KXCAM_API uint32_t CameraFree(int camera);

/** @brief Checks that a camera is open at the index; the camera itself is not touched. Errors: 1, 3. */
KXCAM_API uint32_t CameraReset(int camera);

/** @brief Brings back an open camera whose cable was pulled or that was reset.
 *
 * The library itself resets a camera when a read of image data fails; the newer models send no more frames
 * after that, and queries fail with #KXCAM_ERROR_NO_FRAME until this call.
 *
 * The camera is found by its serial number, wherever it is plugged in now; one whose serial number could not
 * be read when it was opened is not found, and has to be closed and opened anew. Index, settings and tables
 * stay; the settings are sent to the camera again, and the stream starts without any frame from before.
 * Queries that wait in other threads end with #KXCAM_ERROR_NO_FRAME.
 *
 * Errors: 1, 3; 4 for a virtual camera and while the camera is not there: the index stays open then, and the
 * call may be repeated. Takes about as long as CameraInit(). Exclusive. */
KXCAM_API uint32_t CameraReconnect(int camera);
/** @} */

/** @name Geometry
 * Sizes are in pixels. Errors of all: 1, 3; those that ask the device also 4 (no device) and 10
 * (request failed, or the device reported an impossible geometry). After a failure the geometry in
 * force stays in force.
 * @{ */

/** @brief Number of resolution presets the camera offers. */
KXCAM_API uint32_t CameraGetResolutionCount(int camera, int* count);

/** @brief Largest width and height the camera offers. Either pointer may be null. */
KXCAM_API uint32_t CameraGetResolutionMax(int camera, int* width, int* height);

/** @brief Readout mode last set (the value the device was told, 0..255; 1 after open). */
KXCAM_API uint32_t CameraGetResolutionMode(int camera, int* mode);

/** @brief Sets the readout mode; the low eight bits are stored even if the request fails. */
KXCAM_API uint32_t CameraSetResolutionMode(int camera, int mode);

/** @brief Size of a resolution preset as the picture would be delivered (swapped while rotated).
 * Nothing is changed. Either pointer may be null. */
KXCAM_API uint32_t CameraGetResolution(int camera, int preset, int* width, int* height);

/** @brief Selects a resolution preset and ends a region of interest.
 *
 * `width` and `height` receive the new size as the picture is delivered (swapped while rotated);
 * either may be null. Frames of the old size that wait in the ring are not delivered any more. */
KXCAM_API uint32_t CameraSetResolution(int camera, int preset, int* width, int* height);

/** @brief Reads out a region of interest, given in coordinates of the picture as it is delivered.
 *
 * All four values must be even; some sensors need `x` and `width` (or all four) in multiples of 8, 16
 * or 32. Errors: 2 when misaligned or not inside the sensor; 11 or 10 when the device refuses. */
KXCAM_API uint32_t CameraSetROI(int camera, int x, int y, int width, int height);

/** @brief Lines per frame in line-scan use; only the low 16 bits reach the camera, and only line-scan
 * sensors are told. */
KXCAM_API uint32_t CameraSetLineHeight(int camera, int lines);
/** @brief Lines per frame last set; 2 after open. */
KXCAM_API uint32_t CameraGetLineHeight(int camera, int* lines);
/** @brief Line-trigger mode: on for 1, off for any other value; only line-scan sensors are told. */
KXCAM_API uint32_t CameraSetLineTrigger(int camera, int on);
/** @brief Line-trigger mode last set, 0 or 1. */
KXCAM_API uint32_t CameraGetLineTrigger(int camera, int* on);

/** @brief Mirrors the picture left to right. */
KXCAM_API uint32_t CameraSetMirrorX(int camera, bool on);
/** @brief State of mirror X; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetMirrorX(int camera, bool* on);
/** @brief Mirrors the picture top to bottom. */
KXCAM_API uint32_t CameraSetMirrorY(int camera, bool on);
/** @brief State of mirror Y; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetMirrorY(int camera, bool* on);

/** @brief Turns the picture relative to its present state.
 *
 * 90 and 360 toggle the 90-degree rotation (clockwise); 180 and 270 toggle both mirrors and the
 * rotation; any other angle succeeds and changes nothing. Per-camera. */
KXCAM_API uint32_t CameraSetRotate(int camera, int angle);

/** @brief Size of the picture as it is delivered (swapped while rotated). Either pointer may be null. */
KXCAM_API uint32_t CameraGetImageSize(int camera, int* width, int* height);
/** @brief Significant bits of a raw sample: 12 or 8. */
KXCAM_API uint32_t CameraGetImageDepth(int camera, int* bits);

/** @brief Bytes that a query in `format` (#kxcam_format) delivers now.
 *
 * Raw: pixels x bytes per sample; grey: pixels; else pixels x 4 with #KXCAM_FORMAT_32BIT, x 3
 * without. */
KXCAM_API uint32_t CameraGetImageBufferSize(int camera, int* size, int format);

/** @brief Bytes that CameraISP() writes for a `width` x `height` frame.
 *
 * Errors: 2 for a format without raw, grey or colour, for sizes below 1 and for a size that does not
 * fit an int. */
KXCAM_API uint32_t CameraGetISPImageBufferSize(int camera, int* size, int width, int height, int format);
/** @} */

/** @name Pictures
 * Frames are read by one thread per camera into a ring of five buffers. When all five wait to be
 * taken, newer frames are lost until a query takes one: the ring then holds the oldest frames. Call
 * CameraClearHostBuffer() first where only a fresh one will do.
 * @{ */

/** @brief Waits for the next frame and delivers it.
 *
 * @param camera index of an open camera
 * @param image receives `*size` bytes
 * @param size must hold exactly what CameraGetImageBufferSize() reports for `format`
 * @param format #kxcam_format
 *
 * Waits for at most the larger of the time-out (CameraSetTimeout()) and the exposure time. Raw
 * frames are copied as they came; grey and colour frames pass the image pipeline in the calling
 * thread.
 *
 * Errors: 3; 12; 2 when `*size` is not the required size; 17 when no frame came, acquisition was
 * stopped or the geometry was changed meanwhile; 4 for a camera without acquisition. An index out of range
 * fails without a code.
 *
 * Several threads may query one camera: each frame goes to one of them, in order. */
KXCAM_API uint32_t CameraQueryImage(int camera, uint8_t* image, int* size, int format);

/** @brief CameraQueryImage() that also tells the place of the frame in the ring, 0..4.
 * `index` may be null. */
KXCAM_API uint32_t CameraQueryImage2(int camera, uint8_t* image, int* size, int* index, int format);

/** @brief CameraQueryImage() in whole 32-bit pixels: `*size` counts pixels, and
 * #KXCAM_FORMAT_32BIT is implied. */
KXCAM_API uint32_t CameraQueryImageLV(int camera, uint32_t* image, int* size, int format);

/** @brief Passes a raw frame that the caller holds through the image pipeline of an open camera.
 *
 * @param camera index of an open camera
 * @param in raw frame, width x height samples of one byte (two, little-endian, on a 12-bit model);
 *        corrections are made in place
 * @param out receives CameraGetISPImageBufferSize() bytes; without raw, grey or colour in `format`
 *        nothing is written
 * @param width,height size as the picture is delivered; the product must be that of the camera's frame
 * @param format #kxcam_format
 *
 * Errors: 1, 3; 2 when the product differs or is not that of a frame. */
KXCAM_API uint32_t CameraISP(int camera, uint8_t* in, uint8_t* out, int width, int height, int format);

/** @brief Drops the frames that wait in the ring, and those that arrive within 200 ms, at most five.
 * Errors: 1, 3, 4. */
KXCAM_API uint32_t CameraClearHostBuffer(int camera);

/** @brief Sets the least time a query waits, in milliseconds, clamped to 500..50000. */
KXCAM_API uint32_t CameraSetTimeout(int camera, int milliseconds);
/** @brief Least time a query waits, in milliseconds; 500 after open. */
KXCAM_API uint32_t CameraGetTimeout(int camera, int* milliseconds);

/** @brief Stores the interpolation setting (low eight bits); the demosaic is bilinear whatever it is. */
KXCAM_API uint32_t CameraSetInterpolation(int camera, int value);
/** @brief Interpolation setting last stored; 0 after open. */
KXCAM_API uint32_t CameraGetInterpolation(int camera, int* value);
/** @} */

/** @name Tone and colour
 * These settings act on the picture, not on the sensor, from the next frame that is processed. Each
 * frame is processed with one consistent set of them. Errors of all: 1, 3; setters also 2 when a
 * value is out of range (a NaN is out of every range), which changes nothing.
 * @{ */

/** @brief Gamma, 0.3..2.0; 1.0 after open. Output = input ^ (1 / gamma), with a linear toe. */
KXCAM_API uint32_t CameraSetGamma(int camera, double gamma);
/** @brief Gamma last set. */
KXCAM_API uint32_t CameraGetGamma(int camera, double* gamma);
/** @brief Contrast factor around the middle of the range above black, 0.3..2.0; 1.0 after open. */
KXCAM_API uint32_t CameraSetContrast(int camera, double contrast);
/** @brief Contrast factor last set. */
KXCAM_API uint32_t CameraGetContrast(int camera, double* contrast);
/** @brief Colour saturation, 0.0 (grey) to 2.0; 1.0 after open. */
KXCAM_API uint32_t CameraSetSaturation(int camera, double saturation);
/** @brief Colour saturation last set. */
KXCAM_API uint32_t CameraGetSaturation(int camera, double* saturation);
/** @brief Level that becomes black, 0..255 in steps of the 8-bit picture; 0 after open. 255 acts as 0. */
KXCAM_API uint32_t CameraSetBlackLevel(int camera, int level);
/** @brief Black level last set. */
KXCAM_API uint32_t CameraGetBlackLevel(int camera, int* level);
/** @brief Enhancement: the camera's own colour matrix instead of the identity. */
KXCAM_API uint32_t CameraSetEnhancement(int camera, bool on);
/** @brief State of the enhancement; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetEnhancement(int camera, bool* on);

/** @brief Sets the first min(length, 4096) entries of the table from 12-bit samples to 8 bits.
 *
 * Only 12-bit models use the table; it is sample >> 4 after open. A length of 0 or less copies
 * nothing and succeeds. */
KXCAM_API uint32_t CameraSetLUT(int camera, const uint8_t* table, int length);

/** @brief Reads the table of CameraSetLUT().
 *
 * With `table` null stores its useful length in `*length` (4096 on a 12-bit model, else 256); else
 * copies min(*length, 4096) entries. */
KXCAM_API uint32_t CameraGetLUT(int camera, uint8_t* table, int* length);
/** @} */

/** @name Exposure and gain
 * Exposure counts sensor lines; CameraGetExposureUnit() tells how long one is. Settings are stored before
 * the sensor is written and stay stored when that fails; which of a sensor's registers must have been
 * written for success depends on the model. Errors of all: 1, 3; setters also 2 when a value is out of
 * range, which changes nothing.
 *
 * The automatic loop runs in the queries, on every fourth frame that is processed, in the calling
 * thread.
 * @{ */

/** @brief Exposure in sensor lines, 1 and up; 5 after open.
 *
 * Models that cannot expose as long as that use their longest exposure and still report the value set.
 * Errors also: 4, 11; 8 when the sensor is in a mode without a shutter; 10 when it did not tell. */
KXCAM_API uint32_t CameraSetExposure(int camera, int lines);
/** @brief Exposure last set, in sensor lines, by the application or by automatic exposure. */
KXCAM_API uint32_t CameraGetExposure(int camera, int* lines);
/** @brief Duration of one sensor line in milliseconds; 0 on models whose timing is not known.
 *
 * Changes with the geometry, the high-speed switch and, on some models, the exposure. */
KXCAM_API uint32_t CameraGetExposureUnit(int camera, double* milliseconds);
/** @brief Exposure in milliseconds: CameraGetExposure() x CameraGetExposureUnit(). */
KXCAM_API uint32_t CameraGetExposureTime(int camera, double* milliseconds);
/** @brief Mean level of the last processed frame, 0..255: of the green pixels, or of all of a monochrome
 * frame. */
KXCAM_API uint32_t CameraGetAvg(int camera, int* level);

/** @brief Gain, 1..255; 16 after open. What a step means depends on the sensor.
 *
 * Models without a gain register store it only. Errors also 4, 11 on models that report them. */
KXCAM_API uint32_t CameraSetGain(int camera, int gain);
/** @brief Gain last set, by the application or by automatic gain. */
KXCAM_API uint32_t CameraGetGain(int camera, int* gain);
/** @brief Advanced gain, 0..255; 0 after open: a coarse range or conversion gain of the sensor.
 *
 * Models without it store it only. The sensor's answer does not matter. */
KXCAM_API uint32_t CameraSetAdvancedGain(int camera, int level);
/** @brief Advanced gain last set. */
KXCAM_API uint32_t CameraGetAdvancedGain(int camera, int* level);

/** @brief Automatic exposure, 1..4000 lines; run by the camera itself where its firmware can. */
KXCAM_API uint32_t CameraSetAEC(int camera, bool on);
/** @brief State of automatic exposure; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetAEC(int camera, bool* on);
/** @brief Automatic gain, up to 64. */
KXCAM_API uint32_t CameraSetAGC(int camera, bool on);
/** @brief State of automatic gain; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetAGC(int camera, bool* on);

/** @brief Mean level that automatic exposure and gain aim at, 0..255; 70 after open.
 *
 * Levels within 5 of it (30 with anti-flicker) are left alone. Errors also 4, 8, 11 on models whose firmware
 * exposes itself. */
KXCAM_API uint32_t CameraSetAETarget(int camera, int level);
/** @brief Target level last set. */
KXCAM_API uint32_t CameraGetAETarget(int camera, int* level);

/** @brief Automatic exposures in whole half-periods of the mains: 1 for 50 Hz, 2 for 60 Hz, else off.
 *
 * The lines in a half-period are counted anew when the geometry or the high-speed switch changes, and on some
 * models with every exposure. */
KXCAM_API uint32_t CameraSetAntiFlicker(int camera, int mode);
/** @brief 1 or 2 as set. Fails, without a code, when anti-flicker is off. */
KXCAM_API uint32_t CameraGetAntiFlicker(int camera, int* mode);
/** @} */

/** @name Timing
 * Errors of all: 1, 3.
 * @{ */

/** @brief A fixed frame rate, or as many frames as exposure and readout allow.
 *
 * @param camera index of an open camera
 * @param fixed whether the camera keeps to `fps`; true after open
 * @param fps frames per second, in steps of 0.1 from 0.1; 10 after open. Stored also when not `fixed`.
 *
 * On some models the rate takes effect with the next exposure that is set. The camera's answer does not
 * matter. Errors also: 2 when `fps` is not finite, 4. */
KXCAM_API uint32_t CameraSetFrameRate(int camera, bool fixed, double fps);
/** @brief Frame-rate settings last set. */
KXCAM_API uint32_t CameraGetFrameRate(int camera, bool* fixed, double* fps);

/** @brief High-speed readout: on several models the sensor's clock doubles and lines get shorter.
 * Errors also: 4; 10 when the camera refuses, which changes nothing. */
KXCAM_API uint32_t CameraSetHighspeed(int camera, bool on);
/** @brief State of high-speed readout; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetHighspeed(int camera, bool* on);

/** @brief Global reset: all rows start exposing together.
 *
 * Switching it on also drops the frames that wait. Succeeds without effect on models that cannot.
 * Errors also: 2 in trigger mode. */
KXCAM_API uint32_t CameraSetGlobalReset(int camera, bool on);
/** @brief State of global reset; `on` is set to false on failure too. Errors also: 8 on models that cannot.
 */
KXCAM_API uint32_t CameraGetGlobalReset(int camera, bool* on);

/** @brief Extra vertical blanking in lines, which lengthens every frame; below 0 counts as 0.
 *
 * Models without it store it only, and some are limited to fewer lines than are stored. The sensor's
 * answer does not matter. Errors also: 4. */
KXCAM_API uint32_t CameraSetDelay(int camera, int lines);
/** @brief Extra vertical blanking last set, in lines. Errors also: 4. */
KXCAM_API uint32_t CameraGetDelay(int camera, int* lines);
/** @} */

/** @name Trigger and strobe
 * Errors of all: 1, 3. The times of the trigger unit are in the camera's units; setters store them for
 * cameras without a trigger unit too, getters fail there with 8.
 *
 * The camera is told the four times at index 0, whatever the index given: with several cameras, set
 * them where the trigger unit in use is camera 0.
 * @{ */

/** @brief Snap mode: 2 for one picture per trigger, any other value for free run; 1 after open. The low eight
 * bits count.
 *
 * Frames that were taken in the old mode are dropped; this takes up to 200 ms. Errors also: 4; 8 when the
 * model cannot be triggered or the sensor did not answer; 10. After a failure the old mode stays. */
KXCAM_API uint32_t CameraSetSnapMode(int camera, int mode);
/** @brief Snap mode last set. */
KXCAM_API uint32_t CameraGetSnapMode(int camera, int* mode);

/** @brief Pictures per trigger (lines on line-scan models), 0..65535; 0 counts as 1; 1 after open.
 * Errors also: 2, 4; 8, 10 and 11, which leave the value stored. */
KXCAM_API uint32_t CameraSetSnapNum(int camera, int count);
/** @brief Pictures per trigger last set. */
KXCAM_API uint32_t CameraGetSnapNum(int camera, int* count);

/** @brief Fires one software trigger, after dropping the frames that wait in the ring.
 *
 * Thread-safe; a query that waits in another thread gets the picture. Errors also: 4; 2 outside trigger
 * mode; 8 on models that cannot be triggered. */
KXCAM_API uint32_t CameraTriggerShot(int camera);

/** @brief Switches the strobe output. Errors also: 4; 8 when the sensor did not answer; neither changes
 * anything. */
KXCAM_API uint32_t CameraEnableStrobe(int camera, bool on);
/** @brief State of the strobe switch, true after open. Fails, without a code, on models without a strobe
 * output; `on` is set all the same. */
KXCAM_API uint32_t CameraGetStrobe(int camera, bool* on);

/** @brief Active level of the trigger input; 1 after open. Errors also: 4, 8, 11, which leave it stored. */
KXCAM_API uint32_t CameraSetTriggerPolarity(int camera, int polarity);
/** @brief True when the trigger polarity last set is 1. */
KXCAM_API uint32_t CameraGetTriggerPolarity(int camera, bool* polarity);
/** @brief Active level of the strobe output, 0 or 1; 1 after open. Errors also: 2; 4, 8 and 11, which leave
 * it stored. */
KXCAM_API uint32_t CameraSetStrobePolarity(int camera, int polarity);
/** @brief Strobe polarity last set. */
KXCAM_API uint32_t CameraGetStrobePolarity(int camera, int* polarity);

/** @brief Delay from trigger to exposure, 0 and up, in steps of 10. Errors also: 2; 4, 8 and 11. */
KXCAM_API uint32_t CameraSetTriggerDelay(int camera, int value);
/** @brief Trigger delay last set. Errors also: 8. */
KXCAM_API uint32_t CameraGetTriggerDelay(int camera, int* value);
/** @brief Delay from exposure to strobe, 0 and up, in steps of 10. Errors also: 2; 4, 8 and 11. */
KXCAM_API uint32_t CameraSetStrobeDelay(int camera, int value);
/** @brief Strobe delay last set. Errors also: 8. */
KXCAM_API uint32_t CameraGetStrobeDelay(int camera, int* value);
/** @brief Duration of the strobe, 0 and up, in steps of 10. Errors also: 2; 4, 8 and 11. */
KXCAM_API uint32_t CameraSetStrobeDuration(int camera, int value);
/** @brief Strobe duration last set. Errors also: 8. */
KXCAM_API uint32_t CameraGetStrobeDuration(int camera, int* value);
/** @brief Time for which the trigger input must be steady, 0 and up. Errors also: 2; 4, 8 and 11. */
KXCAM_API uint32_t CameraSetDebouncerTime(int camera, int value);
/** @brief Debouncer time last set. Errors also: 8. */
KXCAM_API uint32_t CameraGetDebouncerTime(int camera, int* value);
/** @} */

/** @name White balance
 * Factors for red, green and blue that act on the picture, not on the sensor, from the next frame that is
 * processed. Measurements are made on processed frames (grey or colour) of colour models, in the calling
 * thread; on monochrome models they are accepted and nothing comes of them. Errors of all: 1, 3.
 * @{ */

/** @brief Gains of red, green and blue, 0.0..3.0 each; 1.0 after open.
 *
 * Errors also: 2 when one of them is out of range (a NaN is), which changes none. */
KXCAM_API uint32_t CameraSetWBGain(int camera, double r, double g, double b);
/** @brief Gains last set or measured; a measured one may exceed 3.0. Any of the pointers may be null. */
KXCAM_API uint32_t CameraGetWBGain(int camera, double* r, double* g, double* b);

/** @brief Automatic white balance.
 *
 * Measures the nearly grey parts of the next processed frame, and again whenever the brightness of the
 * scene changes: within 5 frames when it changes much, within 32 when it changes moderately. A frame that
 * shows too little grey changes nothing. Switching off keeps the last gains. */
KXCAM_API uint32_t CameraSetAWB(int camera, bool on);
/** @brief State of automatic white balance; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetAWB(int camera, bool* on);

/** @brief Measures once: the next processed frame gets the gains that make its middle grey on the average.
 *
 * Green gets 1.0, the others two decimals. A middle without any red, green or blue changes nothing. */
KXCAM_API uint32_t CameraOnePushWB(int camera);
/** @} */

/** @name Corrections of the raw frame
 * Made in every frame that passes the pipeline, unless the query has #KXCAM_FORMAT_UNCORRECTED. The pixels
 * that the camera's own memory lists as dead are replaced in any case. Errors of all: 1, 3.
 * @{ */

/** @brief Removes single bright pixels; on after open. The outermost pixels are left alone. */
KXCAM_API uint32_t CameraSetDenoise(int camera, bool on);
/** @brief Whether single bright pixels are removed. */
KXCAM_API uint32_t CameraGetDenoise(int camera, bool* on);
/** @brief Evens out the fixed pattern of the sensor's rows and columns, where the camera holds tables of it.
 */
KXCAM_API uint32_t CameraSetFPN(int camera, bool on);
/** @brief Whether the fixed pattern is evened out. */
KXCAM_API uint32_t CameraGetFPN(int camera, bool* on);
/** @} */

/** @name Input and output lines
 * @{ */

/** @brief Drives the lines in `mask` to `value`.
 *
 * Errors: 1, 3, 4, 10; 2 when `mask` holds bit 7 on a camera that uses that line for its strobe. */
KXCAM_API uint32_t CameraSetGPIO(int camera, int mask, int value);
/** @brief States of the lines, 0..255. Errors: 1, 3, 4, 10. */
KXCAM_API uint32_t CameraGetGPIO(int camera, int* lines);
/** @} */

/** @name Stored settings and identity
 * What a camera keeps in its own memory. Reading and writing takes about a millisecond a byte, writing
 * another five. Per-camera. Errors of all: 1, 3, 4 unless a function says otherwise.
 * @{ */

/** @brief Stores all settings in the camera: slot 1, or with any other number slot 0, the one that is loaded
 * at open.
 *
 * Takes about half a second; a camera that loses power meanwhile is left with a mixture of old and new
 * settings. Real values are kept in hundredths, times of the trigger unit in tens. Whether the camera
 * took the bytes is not reported: read the settings back where it matters. */
KXCAM_API uint32_t CameraSaveParameter(int camera, int slot);

/** @brief Loads and applies settings stored in the camera; slots as CameraSaveParameter().
 *
 * Fails when a byte cannot be read (10) or a value is refused, with the code of the last of them; all others
 * are applied nevertheless. The auto-exposure target comes back smaller by the black level. The stored
 * region or resolution is not selected. */
KXCAM_API uint32_t CameraLoadParameter(int camera, int slot);

/** @brief The camera's serial number as it was when the camera was opened.
 *
 * @param camera index of an open camera
 * @param buffer receives 12 characters, and a terminating zero unless `size` is exactly 12
 * @param size bytes of room, at least 12
 *
 * Fails without a code when `buffer` is null or `size` below 12. Errors: 1, 3. Thread-safe. */
KXCAM_API uint32_t CameraReadSerialNumber(int camera, char* buffer, int size);

/** @brief Reads the first `length` bytes of the 63 that are the application's own.
 *
 * A length of 0 or less succeeds at once. Errors: also 2 for more than 63; 10 when a byte cannot be read:
 * those before it are in `buffer`. */
KXCAM_API uint32_t CameraReadUserData(int camera, char* buffer, int length);

/** @brief Writes the first `length` bytes of the 63 that are the application's own.
 *
 * A length of 0 or less succeeds at once. Errors: also 2 for more than 63; 11 when a byte cannot be
 * written: those before it are. */
KXCAM_API uint32_t CameraWriteUserData(int camera, const char* buffer, int length);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* KXCAM_KXCAM_H */

/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kxcam.h
 * @brief Industrial USB cameras: find, open, configure, read.
 *
 * The main header of libkxcam; extra.h adds to it. It is valid C99 and valid C++ on its own.
 *
 * @section conventions Conventions
 *
 * - Every function returns 0 for success and 1 for failure; no other value occurs. After a failure
 *   #last_error (also CameraGetLastError()) holds the cause, one of #kxcam_error.
 * - A camera is identified by its index, 0..255: its position among the attached cameras, in the order
 *   in which the USB stack lists them. Unless a function says otherwise, an index below 0 or above 255
 *   fails with #KXCAM_ERROR_INDEX, and an index at which no camera is open with #KXCAM_ERROR_NOT_OPEN;
 *   the errors listed with the functions are those beyond these two.
 * - Outputs are written on success only, unless a function says otherwise. Output pointers must not
 *   be null, unless a function says otherwise.
 * - Images are row-major without padding between rows.
 *
 * @section threads Threads
 *
 * Three terms are used below:
 * - *thread-safe*: may be called at any time from any thread, also for the same camera.
 * - *per-camera*: may be called from any thread, but by only one thread at a time for any one camera.
 * - *exclusive*: must not run concurrently with another *exclusive* call for the same camera. Calls
 *   already running for that camera in other threads return cleanly, most of them with an error.
 *
 * A function without a term is thread-safe. #last_error is shared by the whole process: with several
 * threads it holds the last failure of any of them.
 *
 * Thread cancellation is deferred: a thread that is cancelled (`pthread_cancel`) during a call is
 * cancelled after that call returns.
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
  KXCAM_ERROR_NO_DEVICE = 4, /**< the camera has no device, or its device was not found at open */
  KXCAM_ERROR_EMPTY_BUS = 5, /**< no configured device is on the bus */
  KXCAM_ERROR_IN_USE = 6,    /**< the camera index is already in use */
  KXCAM_ERROR_NOT_SUPPORTED = 8,  /**< not supported by this model, sensor or firmware */
  KXCAM_ERROR_READ_REQUEST = 10,  /**< a read request to the camera failed */
  KXCAM_ERROR_WRITE_REQUEST = 11, /**< a write request to the camera failed */
  KXCAM_ERROR_FRAME_SIZE = 12,    /**< the frame would be empty */
  KXCAM_ERROR_NO_FRAME = 17       /**< no frame within the time-out, or acquisition was stopped */
};

/** Bits of the output-format word of the query functions and CameraISP(). */
enum kxcam_format {
  KXCAM_FORMAT_RAW = 0x1,            /**< sensor samples; tested before grey and colour */
  KXCAM_FORMAT_GREY = 0x2,           /**< one byte per pixel; tested before colour */
  KXCAM_FORMAT_COLOR = 0x4,          /**< three bytes per pixel */
  KXCAM_FORMAT_BGR = 0x100,          /**< with colour: B, G, R instead of R, G, B */
  KXCAM_FORMAT_32BIT = 0x200,        /**< with colour: four bytes per pixel, the fourth is left untouched */
  KXCAM_FORMAT_UNCORRECTED = 0x40000 /**< skip the raw-frame corrections */
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
  uint8_t fpn;         /**< correct fixed-pattern noise */
  uint8_t denoise;     /**< remove single bright pixels */
} ISPParam;

/** Cause of the last failure of any call in this process (#kxcam_error). */
extern KXCAM_API int last_error;
/** Value of `LogFile` in the configuration file, "" until the file is read. The library writes no log. */
extern KXCAM_API char logfile[256];
/** Value of `PIDFile` in the configuration file, "" until the file is read. The library writes no such
 * file. */
extern KXCAM_API char pidfile[256];

/** @name Discovery and versions
 * The configuration file `/etc/kxusb.conf` (or the file named by the environment variable `KXUSB_CONF`,
 * unless the program runs with elevated privileges) lists the USB ids that the library may open. Without
 * it no camera is found.
 * @{ */

/** @brief Version of the interface: stores 2019 and 1013. Always succeeds. */
KXCAM_API uint32_t CameraGetVersion(int* major, int* minor);

/** @brief Firmware version of an open camera; 0 if it could not be read at open. */
KXCAM_API uint32_t CameraGetFirmVersion(int camera, int* version);

/** @brief Number of attached cameras (vendor id 0xA7B7 and listed in the configuration file).
 *
 * Always succeeds: the count is 0 if there is no configuration file, the bus is empty or a device cannot be
 * opened. Takes a few milliseconds per camera, because every listed device is opened and closed. */
KXCAM_API uint32_t CameraGetCount(int* count);

/** @brief Serial number and display name of an attached camera, open or not.
 *
 * @param camera position on the bus, 0..255
 * @param serial receives 16 bytes: 12 characters and four zeros; may be null
 * @param name receives "NAME(INDEX)", where NAME is the user-assigned name or else the model name; room for
 *        64 bytes; may be null. Empty if the product id is unknown.
 *
 * Errors: #KXCAM_ERROR_EMPTY_BUS. If an identity byte cannot be read, the call succeeds with a zero in its
 * place and sets #KXCAM_ERROR_READ_REQUEST. A missing configuration file or a device that cannot be opened
 * makes the call fail without setting #last_error. */
KXCAM_API uint32_t CameraGetName(int camera, char* serial, char* name);

/** @brief Row of the model table (0..81; 82: unknown product id) and product id of an attached camera.
 *
 * Either pointer may be null. Errors as for CameraGetName(). */
KXCAM_API uint32_t CameraGetID(int camera, int* model_row, int* product_id);

/** @brief Stores #last_error in `*error`. Always succeeds. */
KXCAM_API uint32_t CameraGetLastError(int* error);
/** @} */

/** @name Opening and closing
 * @{ */

/** @brief Opens a camera, loads the settings stored in its slot 0 and starts streaming at resolution
 * preset 0 (the full sensor).
 *
 * Stored settings are applied one by one, skipping values that are out of range, as in a camera in which
 * nothing was ever stored. Stored switches are always applied; in such a blank camera they all read as on,
 * including mirror and rotation. Settings that cannot be loaded do not make the call fail. Takes about half a
 * second on models that are reset at open.
 *
 * The call does not check whether another program is using the camera, and succeeds even then: the settings
 * are sent to the camera, models that are reset at open stop streaming to the other program, and queries in
 * this one fail with #KXCAM_ERROR_NO_FRAME.
 *
 * Errors: #KXCAM_ERROR_IN_USE if the index is already open, or this process has the same device open at
 * another index; #KXCAM_ERROR_EMPTY_BUS; #KXCAM_ERROR_NO_DEVICE if the camera is unplugged during the call or
 * its model is unknown. An index beyond the cameras on the bus, a missing configuration file, a device that
 * cannot be opened or a lack of memory makes the call fail without setting #last_error. Exclusive. */
KXCAM_API uint32_t CameraInit(int camera);

/** @brief Opens a camera for register access only: no frame buffers, no reader thread, no streaming.
 *
 * The frame size stays 640 x 480. Errors as for CameraInit(). Exclusive. */
KXCAM_API uint32_t CameraInitIO(int camera);

/** @brief Opens a virtual camera, one without a device, for CameraISP().
 *
 * @param camera index, 0..255; need not be that of an attached camera
 * @param product_id product id of the model whose frames are to be processed; an unknown id selects the first
 *        model of the table
 * @param param initial settings; null: all neutral, with a black level of 5. A value out of range leaves that
 *        setting neutral.
 *
 * Frames have the model's full size. Settings that act on the picture work as on a real camera; functions
 * that need the device fail with #KXCAM_ERROR_NO_DEVICE. The colour matrix takes effect with the next
 * CameraSetSaturation() or CameraSetEnhancement(): if `enhancement` is set, call one of them first, or the
 * picture is black. Needs no configuration file. Errors: #KXCAM_ERROR_IN_USE if the index is already open.
 * Exclusive. */
KXCAM_API uint32_t CameraInitVirtual(int camera, int product_id, const ISPParam* param);

/** @brief Stops acquisition and closes the camera. Always returns 0.
 *
 * A query waiting in another thread fails with #KXCAM_ERROR_NO_FRAME. Returns within about a second.
 * Exclusive. */
KXCAM_API uint32_t CameraFree(int camera);

/** @brief Checks that a camera is open at the index; the camera itself is not touched. */
KXCAM_API uint32_t CameraReset(int camera);

/** @brief Reconnects an open camera that was unplugged or reset.
 *
 * The library itself resets a camera when reading image data fails; newer models then send no more frames,
 * and queries fail with #KXCAM_ERROR_NO_FRAME until this call.
 *
 * The camera is found by its serial number, whatever port it is plugged into. If several cameras have that
 * number, those already open are skipped, as are those at the previous port of another open camera, and the
 * one at the previous port is preferred. A camera whose serial number could not be read at open cannot be
 * found: close it and open it again. The index, settings and tables are kept, all settings are sent to the
 * camera again (the times of the trigger unit to this camera), and the stream starts without any earlier
 * frame. Queries waiting in other threads fail with #KXCAM_ERROR_NO_FRAME.
 *
 * Errors: #KXCAM_ERROR_NO_DEVICE for a virtual camera, and while the camera is not attached: the index then
 * stays open, and the call may be repeated. Takes about as long as CameraInit(). Exclusive. */
KXCAM_API uint32_t CameraReconnect(int camera);
/** @} */

/** @name Geometry
 * Sizes are in pixels. Functions that ask the device fail with #KXCAM_ERROR_NO_DEVICE if there is none,
 * and with #KXCAM_ERROR_READ_REQUEST if the request fails or the device reports an impossible geometry.
 * After a failure the previous geometry stays in force.
 * @{ */

/** @brief Number of resolution presets the camera offers. */
KXCAM_API uint32_t CameraGetResolutionCount(int camera, int* count);

/** @brief Largest width and height the camera offers. Either pointer may be null. */
KXCAM_API uint32_t CameraGetResolutionMax(int camera, int* width, int* height);

/** @brief Readout mode last set (the value sent to the device, 0..255; 1 after open). */
KXCAM_API uint32_t CameraGetResolutionMode(int camera, int* mode);

/** @brief Sets the readout mode; the low eight bits are stored even if the request fails. */
KXCAM_API uint32_t CameraSetResolutionMode(int camera, int mode);

/** @brief Picture size of a resolution preset (width and height swapped while rotated).
 * Changes nothing. Either pointer may be null. */
KXCAM_API uint32_t CameraGetResolution(int camera, int preset, int* width, int* height);

/** @brief Selects a resolution preset and ends a region of interest.
 *
 * `width` and `height` receive the new picture size (swapped while rotated); either may be null. Frames of
 * the old size waiting in the ring are no longer delivered. */
KXCAM_API uint32_t CameraSetResolution(int camera, int preset, int* width, int* height);

/** @brief Reads out a region of interest, given in coordinates of the picture as it is delivered.
 *
 * While the picture is rotated, the region shows another part of it than was asked for; kxcam_set_region() of
 * extra.h gives that part in every orientation.
 *
 * All four values must be even; some sensors need `x` and `width` (or all four) in multiples of 8, 16 or 32.
 * Errors: #KXCAM_ERROR_ARGUMENT if misaligned or not inside the sensor; #KXCAM_ERROR_WRITE_REQUEST or
 * #KXCAM_ERROR_READ_REQUEST if the device refuses. */
KXCAM_API uint32_t CameraSetROI(int camera, int x, int y, int width, int height);

/** @brief Lines per frame in line-scan mode; only the low 16 bits are sent, and only to line-scan sensors. */
KXCAM_API uint32_t CameraSetLineHeight(int camera, int lines);
/** @brief Lines per frame last set; 2 after open. */
KXCAM_API uint32_t CameraGetLineHeight(int camera, int* lines);
/** @brief Line-trigger mode: on for 1, off for any other value; only sent to line-scan sensors. */
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

/** @brief Rotates the picture relative to its current orientation.
 *
 * 90 and 360 toggle the 90-degree rotation (clockwise); 180 and 270 toggle both mirrors and the
 * rotation; any other angle succeeds and changes nothing. Per-camera. */
KXCAM_API uint32_t CameraSetRotate(int camera, int angle);

/** @brief Picture size (width and height swapped while rotated). Either pointer may be null. */
KXCAM_API uint32_t CameraGetImageSize(int camera, int* width, int* height);
/** @brief Significant bits of a raw sample: 12 or 8. */
KXCAM_API uint32_t CameraGetImageDepth(int camera, int* bits);

/** @brief Bytes that a query in `format` (#kxcam_format) currently delivers.
 *
 * Raw: pixels x bytes per sample; grey: one byte per pixel; otherwise four bytes per pixel with
 * #KXCAM_FORMAT_32BIT, three without. */
KXCAM_API uint32_t CameraGetImageBufferSize(int camera, int* size, int format);

/** @brief Bytes that CameraISP() writes for a `width` x `height` frame.
 *
 * Errors: #KXCAM_ERROR_ARGUMENT for a format without raw, grey or colour, for a width or height below 1 and
 * for a result that does not fit in an int. */
KXCAM_API uint32_t CameraGetISPImageBufferSize(int camera, int* size, int width, int height, int format);
/** @} */

/** @name Pictures
 * One thread per camera reads frames into a ring of five buffers. When all five are full, newer frames are
 * lost until a query takes one, so the ring holds the oldest frames. To get a fresh frame, call
 * CameraClearHostBuffer() first.
 * @{ */

/** @brief Waits for the next frame and delivers it.
 *
 * @param camera index of an open camera
 * @param image receives `*size` bytes
 * @param size must hold exactly what CameraGetImageBufferSize() reports for `format`
 * @param format #kxcam_format
 *
 * Waits no longer than the larger of the time-out (CameraSetTimeout()) and the exposure time. Raw frames are
 * copied unchanged; grey and colour frames go through the image pipeline in the calling thread.
 *
 * Errors: #KXCAM_ERROR_FRAME_SIZE; #KXCAM_ERROR_ARGUMENT if `*size` is not the required size;
 * #KXCAM_ERROR_NO_FRAME if no frame arrived, acquisition was stopped or the geometry changed during the wait;
 * #KXCAM_ERROR_NO_DEVICE for a camera without acquisition. An index out of range makes the call fail without
 * setting #last_error.
 *
 * Several threads may query the same camera: each frame goes to one of them, in order. */
KXCAM_API uint32_t CameraQueryImage(int camera, uint8_t* image, int* size, int format);

/** @brief CameraQueryImage() that also stores the frame's position in the ring, 0..4.
 * `index` may be null. */
KXCAM_API uint32_t CameraQueryImage2(int camera, uint8_t* image, int* size, int* index, int format);

/** @brief CameraQueryImage() in whole 32-bit pixels: `*size` counts pixels, and
 * #KXCAM_FORMAT_32BIT is implied. */
KXCAM_API uint32_t CameraQueryImageLV(int camera, uint32_t* image, int* size, int format);

/** @brief Processes a raw frame supplied by the caller with the image pipeline of an open camera.
 *
 * @param camera index of an open camera
 * @param in raw frame, width x height samples of one byte (two, little-endian, on a 12-bit model);
 *        corrected in place
 * @param out receives CameraGetISPImageBufferSize() bytes; nothing is written if `format` has neither raw,
 *        grey nor colour
 * @param width,height picture size; the product must be that of the camera's frame
 * @param format #kxcam_format
 *
 * Errors: #KXCAM_ERROR_ARGUMENT if the product differs or is not that of a frame. */
KXCAM_API uint32_t CameraISP(int camera, uint8_t* in, uint8_t* out, int width, int height, int format);

/** @brief Drops the frames waiting in the ring and those that arrive within 200 ms, at most five.
 * Errors: #KXCAM_ERROR_NO_DEVICE. */
KXCAM_API uint32_t CameraClearHostBuffer(int camera);

/** @brief Sets the query time-out in milliseconds, clamped to 500..50000. */
KXCAM_API uint32_t CameraSetTimeout(int camera, int milliseconds);
/** @brief Query time-out in milliseconds; 500 after open. */
KXCAM_API uint32_t CameraGetTimeout(int camera, int* milliseconds);

/** @brief Stores the interpolation setting (low eight bits); demosaicing is always bilinear. */
KXCAM_API uint32_t CameraSetInterpolation(int camera, int value);
/** @brief Interpolation setting last stored; 0 after open. */
KXCAM_API uint32_t CameraGetInterpolation(int camera, int* value);
/** @} */

/** @name Tone and colour
 * These settings act on the picture, not on the sensor, from the next processed frame. Each frame is
 * processed with one consistent set of them. A setter fails with #KXCAM_ERROR_ARGUMENT, changing nothing, if
 * a value is out of range (NaN always is).
 * @{ */

/** @brief Gamma, 0.3..2.0; 1.0 after open. Output = input ^ (1 / gamma), with a linear toe. */
KXCAM_API uint32_t CameraSetGamma(int camera, double gamma);
/** @brief Gamma last set. */
KXCAM_API uint32_t CameraGetGamma(int camera, double* gamma);
/** @brief Contrast factor about the midpoint of the range above black, 0.3..2.0; 1.0 after open. */
KXCAM_API uint32_t CameraSetContrast(int camera, double contrast);
/** @brief Contrast factor last set. */
KXCAM_API uint32_t CameraGetContrast(int camera, double* contrast);
/** @brief Colour saturation, 0.0 (grey) to 2.0; 1.0 after open. */
KXCAM_API uint32_t CameraSetSaturation(int camera, double saturation);
/** @brief Colour saturation last set. */
KXCAM_API uint32_t CameraGetSaturation(int camera, double* saturation);
/** @brief Level mapped to black, 0..255 on the 8-bit scale; 0 after open. 255 acts as 0. */
KXCAM_API uint32_t CameraSetBlackLevel(int camera, int level);
/** @brief Black level last set. */
KXCAM_API uint32_t CameraGetBlackLevel(int camera, int* level);
/** @brief Enhancement: applies the camera's own colour matrix instead of the identity. */
KXCAM_API uint32_t CameraSetEnhancement(int camera, bool on);
/** @brief State of enhancement; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetEnhancement(int camera, bool* on);

/** @brief Sets the first min(length, 4096) entries of the lookup table that maps 12-bit samples to 8 bits.
 *
 * Only 12-bit models use the table; after open it is sample >> 4. A length of 0 or less copies nothing and
 * succeeds. */
KXCAM_API uint32_t CameraSetLUT(int camera, const uint8_t* table, int length);

/** @brief Reads the table of CameraSetLUT().
 *
 * If `table` is null, stores its useful length in `*length` (4096 on a 12-bit model, otherwise 256);
 * otherwise copies min(*length, 4096) entries. */
KXCAM_API uint32_t CameraGetLUT(int camera, uint8_t* table, int* length);
/** @} */

/** @name Exposure and gain
 * Exposure is in sensor lines; CameraGetExposureUnit() gives the duration of one. Settings are stored before
 * the sensor is written, and stay stored if that fails; which register writes must succeed for the call to
 * succeed depends on the model. A setter fails with #KXCAM_ERROR_ARGUMENT, changing nothing, if a value is
 * out of range.
 *
 * Automatic exposure and gain run in the querying thread, on every fourth processed frame.
 * @{ */

/** @brief Exposure in sensor lines, 1 and up; 5 after open.
 *
 * Models that cannot expose that long use their longest exposure and still report the value set.
 * Errors: #KXCAM_ERROR_NO_DEVICE, #KXCAM_ERROR_WRITE_REQUEST; #KXCAM_ERROR_NOT_SUPPORTED if the sensor is in
 * a mode without a shutter; #KXCAM_ERROR_READ_REQUEST if the sensor does not answer. */
KXCAM_API uint32_t CameraSetExposure(int camera, int lines);
/** @brief Exposure last set, in sensor lines, by the application or by automatic exposure. */
KXCAM_API uint32_t CameraGetExposure(int camera, int* lines);
/** @brief Duration of one sensor line in milliseconds; 0 on models whose timing is unknown.
 *
 * Changes with the geometry, the high-speed switch and, on some models, the exposure. */
KXCAM_API uint32_t CameraGetExposureUnit(int camera, double* milliseconds);
/** @brief Exposure in milliseconds: CameraGetExposure() x CameraGetExposureUnit(). */
KXCAM_API uint32_t CameraGetExposureTime(int camera, double* milliseconds);
/** @brief Mean level of the last processed frame, 0..255: of the green pixels, or of all pixels of a
 * monochrome frame. */
KXCAM_API uint32_t CameraGetAvg(int camera, int* level);

/** @brief Gain, 1..255; 16 after open. The size of a step depends on the sensor.
 *
 * Models without a gain register only store it. Errors, on models that report them: #KXCAM_ERROR_NO_DEVICE,
 * #KXCAM_ERROR_WRITE_REQUEST. */
KXCAM_API uint32_t CameraSetGain(int camera, int gain);
/** @brief Gain last set, by the application or by automatic gain. */
KXCAM_API uint32_t CameraGetGain(int camera, int* gain);
/** @brief Advanced gain, 0..255; 0 after open: a coarse range or the conversion gain of the sensor.
 *
 * Models without it only store it. Succeeds even if the sensor does not answer. */
KXCAM_API uint32_t CameraSetAdvancedGain(int camera, int level);
/** @brief Advanced gain last set. */
KXCAM_API uint32_t CameraGetAdvancedGain(int camera, int* level);

/** @brief Automatic exposure, 1..4000 lines; done by the camera itself if its firmware can. */
KXCAM_API uint32_t CameraSetAEC(int camera, bool on);
/** @brief State of automatic exposure; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetAEC(int camera, bool* on);
/** @brief Automatic gain, up to 64. */
KXCAM_API uint32_t CameraSetAGC(int camera, bool on);
/** @brief State of automatic gain; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetAGC(int camera, bool* on);

/** @brief Target mean level of automatic exposure and gain, 0..255; 70 after open.
 *
 * Levels within 5 of the target (30 with anti-flicker) are left alone. Errors, on models whose firmware
 * controls exposure itself: #KXCAM_ERROR_NO_DEVICE, #KXCAM_ERROR_NOT_SUPPORTED, #KXCAM_ERROR_WRITE_REQUEST.
 */
KXCAM_API uint32_t CameraSetAETarget(int camera, int level);
/** @brief Target level last set. */
KXCAM_API uint32_t CameraGetAETarget(int camera, int* level);

/** @brief Restricts automatic exposure to whole half-periods of the mains: 1 for 50 Hz, 2 for 60 Hz, any
 * other value for off.
 *
 * The number of lines in a half-period is recalculated when the geometry or the high-speed switch changes,
 * and on some models with every exposure. */
KXCAM_API uint32_t CameraSetAntiFlicker(int camera, int mode);
/** @brief 1 or 2 as set. Fails without setting #last_error if anti-flicker is off. */
KXCAM_API uint32_t CameraGetAntiFlicker(int camera, int* mode);
/** @} */

/** @name Timing
 * @{ */

/** @brief A fixed frame rate, or as many frames as exposure and readout allow.
 *
 * @param camera index of an open camera
 * @param fixed whether the camera keeps to `fps`; true after open
 * @param fps frames per second, in steps of 0.1 from 0.1; 10 after open. Stored even if not `fixed`.
 *
 * On some models the rate takes effect with the next exposure that is set. Succeeds even if the camera does
 * not answer. Errors: #KXCAM_ERROR_ARGUMENT if `fps` is not finite; #KXCAM_ERROR_NO_DEVICE. */
KXCAM_API uint32_t CameraSetFrameRate(int camera, bool fixed, double fps);
/** @brief Frame-rate settings last set. */
KXCAM_API uint32_t CameraGetFrameRate(int camera, bool* fixed, double* fps);

/** @brief High-speed readout: on several models the sensor clock doubles and lines get shorter.
 * Errors: #KXCAM_ERROR_NO_DEVICE; #KXCAM_ERROR_READ_REQUEST if the camera refuses; neither changes anything.
 */
KXCAM_API uint32_t CameraSetHighspeed(int camera, bool on);
/** @brief State of high-speed readout; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetHighspeed(int camera, bool* on);

/** @brief Global reset: all rows start exposing together.
 *
 * Switching it on also drops the frames waiting in the ring. Succeeds without effect on models that cannot.
 * Errors: #KXCAM_ERROR_ARGUMENT in trigger mode. */
KXCAM_API uint32_t CameraSetGlobalReset(int camera, bool on);
/** @brief State of global reset; `on` is set to false on failure too. Errors: #KXCAM_ERROR_NOT_SUPPORTED on
 * models that cannot. */
KXCAM_API uint32_t CameraGetGlobalReset(int camera, bool* on);

/** @brief Extra vertical blanking in lines, which lengthens every frame; below 0 counts as 0.
 *
 * Models without it only store it, and some are limited to fewer lines than are stored. Succeeds even if the
 * sensor does not answer. Errors: #KXCAM_ERROR_NO_DEVICE. */
KXCAM_API uint32_t CameraSetDelay(int camera, int lines);
/** @brief Extra vertical blanking last set, in lines. Errors: #KXCAM_ERROR_NO_DEVICE. */
KXCAM_API uint32_t CameraGetDelay(int camera, int* lines);
/** @} */

/** @name Trigger and strobe
 * The times of the trigger unit are in the camera's own units. On cameras without a trigger unit the setters
 * only store them, and the getters fail with #KXCAM_ERROR_NOT_SUPPORTED. The setters fail with
 * #KXCAM_ERROR_ARGUMENT for a value below 0 and, leaving the value stored, with #KXCAM_ERROR_NO_DEVICE,
 * #KXCAM_ERROR_NOT_SUPPORTED or #KXCAM_ERROR_WRITE_REQUEST.
 *
 * All four times are sent to the camera at index 0, whatever index is given: with several cameras, the
 * trigger unit in use must be that of camera 0.
 * @{ */

/** @brief Snap mode: 2 for one picture per trigger, any other value for free run; 1 after open. The low eight
 * bits count.
 *
 * Frames taken in the old mode are dropped; this takes up to 200 ms. Errors: #KXCAM_ERROR_NO_DEVICE;
 * #KXCAM_ERROR_NOT_SUPPORTED if the model cannot be triggered or the sensor does not answer;
 * #KXCAM_ERROR_READ_REQUEST. After a failure the old mode stays. */
KXCAM_API uint32_t CameraSetSnapMode(int camera, int mode);
/** @brief Snap mode last set. */
KXCAM_API uint32_t CameraGetSnapMode(int camera, int* mode);

/** @brief Pictures per trigger (lines on line-scan models), 0..65535; 0 counts as 1; 1 after open.
 * Errors: #KXCAM_ERROR_ARGUMENT, #KXCAM_ERROR_NO_DEVICE; leaving the value stored,
 * #KXCAM_ERROR_NOT_SUPPORTED, #KXCAM_ERROR_READ_REQUEST and #KXCAM_ERROR_WRITE_REQUEST. */
KXCAM_API uint32_t CameraSetSnapNum(int camera, int count);
/** @brief Pictures per trigger last set. */
KXCAM_API uint32_t CameraGetSnapNum(int camera, int* count);

/** @brief Fires one software trigger, after dropping the frames waiting in the ring.
 *
 * Thread-safe; a query waiting in another thread gets the picture. Errors: #KXCAM_ERROR_NO_DEVICE;
 * #KXCAM_ERROR_ARGUMENT outside trigger mode; #KXCAM_ERROR_NOT_SUPPORTED on models that cannot be triggered.
 */
KXCAM_API uint32_t CameraTriggerShot(int camera);

/** @brief Switches the strobe output. Errors: #KXCAM_ERROR_NO_DEVICE; #KXCAM_ERROR_NOT_SUPPORTED if the
 * sensor does not answer; neither changes anything. */
KXCAM_API uint32_t CameraEnableStrobe(int camera, bool on);
/** @brief State of the strobe switch, true after open. On models without a strobe output the call fails
 * without setting #last_error, but still stores `on`. */
KXCAM_API uint32_t CameraGetStrobe(int camera, bool* on);

/** @brief Active level of the trigger input; 1 after open. Errors, which leave it stored:
 * #KXCAM_ERROR_NO_DEVICE, #KXCAM_ERROR_NOT_SUPPORTED, #KXCAM_ERROR_WRITE_REQUEST. */
KXCAM_API uint32_t CameraSetTriggerPolarity(int camera, int polarity);
/** @brief True if the trigger polarity last set is 1. */
KXCAM_API uint32_t CameraGetTriggerPolarity(int camera, bool* polarity);
/** @brief Active level of the strobe output, 0 or 1; 1 after open. Errors: #KXCAM_ERROR_ARGUMENT; leaving it
 * stored, #KXCAM_ERROR_NO_DEVICE, #KXCAM_ERROR_NOT_SUPPORTED and #KXCAM_ERROR_WRITE_REQUEST. */
KXCAM_API uint32_t CameraSetStrobePolarity(int camera, int polarity);
/** @brief Strobe polarity last set. */
KXCAM_API uint32_t CameraGetStrobePolarity(int camera, int* polarity);

/** @brief Delay from trigger to exposure, 0 and up, in steps of 10. */
KXCAM_API uint32_t CameraSetTriggerDelay(int camera, int value);
/** @brief Trigger delay last set. */
KXCAM_API uint32_t CameraGetTriggerDelay(int camera, int* value);
/** @brief Delay from exposure to strobe, 0 and up, in steps of 10. */
KXCAM_API uint32_t CameraSetStrobeDelay(int camera, int value);
/** @brief Strobe delay last set. */
KXCAM_API uint32_t CameraGetStrobeDelay(int camera, int* value);
/** @brief Duration of the strobe, 0 and up, in steps of 10. */
KXCAM_API uint32_t CameraSetStrobeDuration(int camera, int value);
/** @brief Strobe duration last set. */
KXCAM_API uint32_t CameraGetStrobeDuration(int camera, int* value);
/** @brief Time for which the trigger input must be stable, 0 and up. */
KXCAM_API uint32_t CameraSetDebouncerTime(int camera, int value);
/** @brief Debouncer time last set. */
KXCAM_API uint32_t CameraGetDebouncerTime(int camera, int* value);
/** @} */

/** @name White balance
 * Factors for red, green and blue that act on the picture, not on the sensor, from the next processed frame.
 * Measurements are made on processed frames (grey or colour) of colour models, in the querying thread; on
 * monochrome models they are accepted and have no effect.
 * @{ */

/** @brief Gains of red, green and blue, 0.0..3.0 each; 1.0 after open.
 *
 * Errors: #KXCAM_ERROR_ARGUMENT if one of them is out of range (NaN always is), which changes none. */
KXCAM_API uint32_t CameraSetWBGain(int camera, double r, double g, double b);
/** @brief Gains last set or measured; a measured one may exceed 3.0. Any of the pointers may be null. */
KXCAM_API uint32_t CameraGetWBGain(int camera, double* r, double* g, double* b);

/** @brief Automatic white balance.
 *
 * Measures the nearly grey parts of the next processed frame, and again whenever the brightness of the
 * scene changes: within 5 frames after a large change, within 32 after a moderate one. A frame with too
 * little grey changes nothing. Switching it off keeps the last gains. */
KXCAM_API uint32_t CameraSetAWB(int camera, bool on);
/** @brief State of automatic white balance; `on` is set to false on failure too. */
KXCAM_API uint32_t CameraGetAWB(int camera, bool* on);

/** @brief Measures white balance once: the next processed frame sets the gains that make the centre of the
 * frame grey on average.
 *
 * The gain of green becomes 1.0; the others are rounded down to two decimals. If the centre has no red, no
 * green or no blue at all, nothing changes. */
KXCAM_API uint32_t CameraOnePushWB(int camera);
/** @} */

/** @name Corrections of the raw frame
 * Applied to every frame that goes through the pipeline, unless the query has #KXCAM_FORMAT_UNCORRECTED.
 * Pixels listed as dead in the camera's own memory are always replaced.
 * @{ */

/** @brief Removes single bright pixels; on after open. The pixels at the edge are left alone. */
KXCAM_API uint32_t CameraSetDenoise(int camera, bool on);
/** @brief Whether single bright pixels are removed. */
KXCAM_API uint32_t CameraGetDenoise(int camera, bool* on);
/** @brief Corrects the fixed-pattern noise of the sensor's rows and columns, if the camera holds tables of
 * it.
 */
KXCAM_API uint32_t CameraSetFPN(int camera, bool on);
/** @brief Whether fixed-pattern noise is corrected. */
KXCAM_API uint32_t CameraGetFPN(int camera, bool* on);
/** @} */

/** @name Input and output lines
 * Errors of both: #KXCAM_ERROR_NO_DEVICE, #KXCAM_ERROR_READ_REQUEST.
 * @{ */

/** @brief Drives the lines in `mask` to `value`.
 *
 * Errors: #KXCAM_ERROR_ARGUMENT if `mask` contains bit 7 on a camera that uses that line for its strobe. */
KXCAM_API uint32_t CameraSetGPIO(int camera, int mask, int value);
/** @brief States of the lines, 0..255. */
KXCAM_API uint32_t CameraGetGPIO(int camera, int* lines);
/** @} */

/** @name Stored settings and identity
 * Data in the camera's own memory. Reading takes about one millisecond per byte, writing about six.
 * Per-camera. Unless a function says otherwise, all fail with #KXCAM_ERROR_NO_DEVICE if there is no device.
 * @{ */

/** @brief Stores all settings in the camera: in slot 1, or for any other number in slot 0, which is loaded at
 * open.
 *
 * Takes about half a second; a camera that loses power during the call is left with a mixture of old and new
 * settings. Real values are stored in hundredths, times of the trigger unit in tens. Write errors are not
 * reported: read the settings back where it matters. */
KXCAM_API uint32_t CameraSaveParameter(int camera, int slot);

/** @brief Loads and applies settings stored in the camera; slots as for CameraSaveParameter().
 *
 * Fails if a byte cannot be read (#KXCAM_ERROR_READ_REQUEST) or a value is rejected, with the cause of the
 * last failure; all other settings are still applied. The auto-exposure target is reduced by the black level.
 * The stored region or resolution is not selected. */
KXCAM_API uint32_t CameraLoadParameter(int camera, int slot);

/** @brief Serial number the camera had at open.
 *
 * @param camera index of an open camera
 * @param buffer receives 12 characters, and a terminating zero unless `size` is exactly 12
 * @param size bytes of room, at least 12
 *
 * Fails without setting #last_error if `buffer` is null or `size` is below 12; never with
 * #KXCAM_ERROR_NO_DEVICE. Thread-safe. */
KXCAM_API uint32_t CameraReadSerialNumber(int camera, char* buffer, int size);

/** @brief Reads the first `length` of the 63 bytes reserved for the application.
 *
 * A length of 0 or less succeeds at once. Errors: #KXCAM_ERROR_ARGUMENT for more than 63;
 * #KXCAM_ERROR_READ_REQUEST if a byte cannot be read: the bytes before it are in `buffer`. */
KXCAM_API uint32_t CameraReadUserData(int camera, char* buffer, int length);

/** @brief Writes the first `length` of the 63 bytes reserved for the application.
 *
 * A length of 0 or less succeeds at once. Errors: #KXCAM_ERROR_ARGUMENT for more than 63;
 * #KXCAM_ERROR_WRITE_REQUEST if a byte cannot be written: the bytes before it are. */
KXCAM_API uint32_t CameraWriteUserData(int camera, const char* buffer, int length);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* KXCAM_KXCAM_H */

/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file extra.h
 * @brief Beside kxcam.h: frames with a number and a time, waits that can be ended, cameras by serial number.
 *
 * For programs that need more than the functions of kxcam.h, and for bindings to other languages. It is valid
 * C99 and valid C++ on its own. Functions of both headers may be mixed freely.
 *
 * @section extra_conventions Conventions
 *
 * - Every function returns 0, or the positive cause of its failure (#kxcam_error, #kxcam_extra_error), unless
 *   it says otherwise. #last_error is set too, as by the functions of kxcam.h, but never to one of the causes
 *   of this header.
 * - All functions that take a camera index fail with #KXCAM_ERROR_INDEX outside 0..255 and, unless they say
 *   otherwise, with #KXCAM_ERROR_NOT_OPEN where nothing is open; the errors listed with the functions are
 *   those beyond these two.
 * - A struct is passed with its size, `sizeof` of the struct that the program was compiled with. The library
 *   fills what both know and zeroes what only the program knows, so that either may be newer than the other.
 *   A struct whose size is 0 is not written.
 * - A required pointer that is null fails with #KXCAM_ERROR_ARGUMENT.
 *
 * The terms *thread-safe* and *exclusive* are those of kxcam.h.
 */
#ifndef KXCAM_EXTRA_H
#define KXCAM_EXTRA_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "kxcam/kxcam.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Causes that only the functions of this header return; #last_error never holds them. */
enum kxcam_extra_error {
  KXCAM_ERROR_INTERRUPTED = 18,   /**< kxcam_interrupt() ended the wait */
  KXCAM_ERROR_CONFIGURATION = 19, /**< the configuration file is missing or malformed */
  KXCAM_ERROR_HELD = 20,          /**< another program holds the camera */
  KXCAM_ERROR_PERMISSION = 21,    /**< the system does not let this user open the camera */
  KXCAM_ERROR_SYSTEM = 22         /**< the system has no memory, thread or descriptor to spare */
};

/** @name Frames
 *
 * The camera's bytes carry neither a number nor a time: both are given when the end of a frame arrives. A
 * frame that is lost after that leaves a gap in the numbers, and kxcam_get_statistics() tells the cause; one
 * that the camera itself dropped, because nobody read, does not.
 * @{ */

/** Bits of the flags of kxcam_query(). */
enum kxcam_query_flag {
  KXCAM_QUERY_NEWEST = 1 /**< pass over the frames that wait before the newest */
};

/** What is known of a frame beside its picture. */
struct kxcam_frame {
  uint64_t sequence;  /**< number of the frame's end on the wire, lost ones included; 0 is the first after the
                           camera was opened. Goes on over CameraReconnect(). */
  int64_t arrived_ns; /**< CLOCK_MONOTONIC when its last byte was there */
  int64_t exposure_ns; /**< exposure time set when it arrived, which the sensor may follow one or two frames
                            later; 0 on models whose timing is not known */
  int32_t width;       /**< of the picture as it is delivered */
  int32_t height;      /**< likewise */
  int32_t format;      /**< as it was asked for, #kxcam_format */
  int32_t gain;        /**< set when it arrived */
  int32_t waiting;     /**< frames that wait behind it, 0..4 */
  uint32_t reserved;   /**< 0 */
};

/** @brief Waits for the next frame and delivers it, as CameraQueryImage() does.
 *
 * @param camera index of an open camera
 * @param image receives `size` bytes
 * @param size exactly what CameraGetImageBufferSize() reports for `format`
 * @param format #kxcam_format
 * @param timeout_ms how long to wait, in milliseconds: 0 looks once, below 0 waits without an end. Neither
 *        CameraSetTimeout() nor the exposure time matter.
 * @param flags #kxcam_query_flag, or 0
 * @param frame receives what is known of the frame; may be null
 * @param frame_size size of `*frame`
 *
 * Frames go to waiting queries in the order in which these came, those of CameraQueryImage() among them, but
 * a time-out or an interruption ends a wait whoever is before it.
 *
 * Errors: #KXCAM_ERROR_ARGUMENT for a wrong size, unknown flags or a null image; #KXCAM_ERROR_FRAME_SIZE;
 * #KXCAM_ERROR_NO_FRAME if no frame came in time, the camera was closed, CameraReconnect() began or the
 * geometry was changed meanwhile; #KXCAM_ERROR_NO_DEVICE for a camera
 * without acquisition, and at once when the camera is gone (#KXCAM_GONE) and no frame waits;
 * #KXCAM_ERROR_INTERRUPTED. Thread-safe. */
KXCAM_API int kxcam_query(int camera, void* image, size_t size, int format, int timeout_ms, unsigned flags,
                          struct kxcam_frame* frame, size_t frame_size);

/** @brief Ends the waits in kxcam_query() and keeps them from beginning, until it is switched off.
 *
 * While it is on, kxcam_query() of that camera fails at once with #KXCAM_ERROR_INTERRUPTED in every thread,
 * also when a frame waits. Queries of kxcam.h are not touched. Off after open; stays as it is over
 * CameraReconnect().
 *
 * Errors: #KXCAM_ERROR_NO_DEVICE for a camera without acquisition. Thread-safe; not from a signal handler. */
KXCAM_API int kxcam_interrupt(int camera, bool on);

/** @brief A descriptor for poll() and the like that is readable while kxcam_query() would not have to wait.
 *
 * That is while a frame of the geometry in force waits, the camera is gone or queries are interrupted. Wait
 * for readability (POLLIN) only: nothing is to be read from it, written to it or closed. It belongs to the
 * library and is closed by CameraFree(): take it out of every poll set before. Over CameraReconnect() it
 * stays the same, and every call gives the same one. Several threads may wait: the frame goes to the first
 * that queries, so query with a time-out of 0.
 *
 * Errors: #KXCAM_ERROR_ARGUMENT; #KXCAM_ERROR_NO_DEVICE for a camera without acquisition;
 * #KXCAM_ERROR_SYSTEM. Thread-safe. */
KXCAM_API int kxcam_frame_fd(int camera, int* fd);

/** What a camera is doing. */
enum kxcam_state {
  KXCAM_STREAMING, /**< frames are read, whether or not the camera sends any */
  KXCAM_IDLE,      /**< opened for register access only, or without a device: there are no frames */
  KXCAM_GONE       /**< the device is not there any more; CameraReconnect() brings it back */
};

/** What became of the frames of a camera since it was opened; see kxcam_get_statistics(). */
struct kxcam_statistics {
  uint64_t ended;           /**< frames whose end arrived */
  uint64_t delivered;       /**< of these, handed to the program */
  uint64_t too_short;       /**< with fewer bytes than the geometry has */
  uint64_t too_long;        /**< with more */
  uint64_t timed_out;       /**< stopped for longer than a transfer waits (500 ms) */
  uint64_t old_geometry;    /**< from before a change of the geometry */
  uint64_t flushed;         /**< dropped by CameraClearHostBuffer(), a trigger shot, a change of mode or
                               CameraReconnect() */
  uint64_t passed_over;     /**< dropped for a newer one (#KXCAM_QUERY_NEWEST) */
  uint64_t failed;          /**< taken by a query that failed then */
  uint64_t bytes;           /**< read from the image stream */
  uint64_t transfer_errors; /**< reads of the image stream that failed, time-outs not counted */
  uint64_t resets;          /**< times the library reset the camera after such a failure */
  uint64_t reconnects;      /**< times CameraReconnect() brought the camera back */
  uint64_t ring_full_ns;    /**< time for which five frames waited and nothing was read, the present stall
                               included. What the camera dropped meanwhile nobody can count. */
  int32_t waiting;          /**< frames that wait or that a query is delivering, 0..5 */
  int32_t state;            /**< #kxcam_state */
};

/** @brief Counters of a camera, all of one moment.
 *
 * Always ended = delivered + too_short + too_long + timed_out + old_geometry + flushed + passed_over + failed
 * + waiting. Between two frames that one program gets in order, the numbers that are missing are as many as
 * the causes counted meanwhile.
 *
 * Errors: #KXCAM_ERROR_ARGUMENT. Thread-safe. */
KXCAM_API int kxcam_get_statistics(int camera, struct kxcam_statistics* statistics, size_t size);
/** @} */

/** @name Which camera
 * @{ */

/** @brief Opens the camera with that serial number, wherever it is on the bus, as CameraInit() does.
 *
 * @param serial serial number; blanks at its end do not count, in the camera neither
 * @param camera receives the index: the lowest at which nothing is open. It has nothing to do with the place
 * on the bus.
 *
 * Nothing is sent to a camera that this process or another program holds. One that another program holds does
 * not tell its serial number therefore: #KXCAM_ERROR_HELD says that the camera is none of the free ones and
 * may be one of those held.
 *
 * Errors: #KXCAM_ERROR_ARGUMENT; #KXCAM_ERROR_NO_DEVICE if it is not there; #KXCAM_ERROR_EMPTY_BUS;
 * #KXCAM_ERROR_IN_USE if this process has it open already or every
 * index is taken; #KXCAM_ERROR_HELD; #KXCAM_ERROR_PERMISSION; #KXCAM_ERROR_CONFIGURATION;
 * #KXCAM_ERROR_SYSTEM. Thread-safe: calls wait for each other. */
KXCAM_API int kxcam_open(const char* serial, int* camera);

/** Bits of `features` of #kxcam_description. */
enum kxcam_feature {
  KXCAM_FEATURE_TRIGGER = 0x1,       /**< one picture per trigger (CameraSetSnapMode()) */
  KXCAM_FEATURE_TRIGGER_UNIT = 0x2,  /**< times of trigger and strobe */
  KXCAM_FEATURE_STROBE = 0x4,        /**< a strobe output */
  KXCAM_FEATURE_LINE_SCAN = 0x8,     /**< line settings reach the sensor */
  KXCAM_FEATURE_AUTO_EXPOSURE = 0x10 /**< the camera can expose by itself, without queries */
};

/** Order of the colours in the first two rows of a raw frame of the full sensor. */
enum kxcam_bayer {
  KXCAM_BAYER_NONE, /**< monochrome */
  KXCAM_BAYER_RGGB,
  KXCAM_BAYER_GRBG,
  KXCAM_BAYER_GBRG,
  KXCAM_BAYER_BGGR
};

/** What an open camera is and can do. Text ends with a zero. */
struct kxcam_description {
  char serial[16];       /**< serial number as it was at open */
  char model[32];        /**< model name */
  char port[32];         /**< "1-2.3" as in /sys/bus/usb/devices; "" without a device */
  int32_t product_id;    /**< USB product id of the model */
  int32_t firmware;      /**< firmware version word; 0 when it is not known */
  int32_t usb_speed;     /**< Mbit/s; 0 without a device */
  int32_t sensor_width;  /**< full size, not rotated */
  int32_t sensor_height; /**< likewise */
  int32_t bits;          /**< significant bits of a raw sample */
  int32_t bayer;         /**< #kxcam_bayer */
  uint32_t features;     /**< #kxcam_feature bits */
  int32_t region_step_x; /**< of a region's first column and width on the sensor: 2, 8, 16 or 32. The widest
                            region is the sensor's width rounded down to it. */
  int32_t region_step_y; /**< of a region's first row and height on the sensor: 2 or 8 */
  int32_t longest_exposure; /**< in lines; a longer one may be set and has the same effect. 0: no limit is
                               known. */
  int32_t reserved;         /**< 0 */
  uint64_t controls;        /**< bit n: the camera offers control n of kxcam_get_control() */
};

/** @brief Tells what an open camera is and can do, also one without a device. Nothing is sent to it.
 * Errors: #KXCAM_ERROR_ARGUMENT. Thread-safe. */
KXCAM_API int kxcam_describe(int camera, struct kxcam_description* description, size_t size);

/** A camera that came to the bus or left it. Text ends with a zero. */
struct kxcam_bus_event {
  int32_t arrived;    /**< 1 came, 0 left */
  int32_t product_id; /**< USB product id; that of the model, where the camera tells it when asked */
  char serial[16];    /**< serial number without blanks at its end; "" when it could not be read, as it cannot
                         while another program holds the camera */
  char port[32];      /**< as in #kxcam_description */
  char model[32];     /**< model name; "" where `product_id` is that of no model */
  int32_t usb_speed;  /**< Mbit/s */
  int32_t reserved;   /**< 0 */
};

/** @brief Starts or ends watching the bus, in a thread of the library's own.
 *
 * @param on begin or end
 * @param fd receives a descriptor that is readable while an event waits, as kxcam_frame_fd(); may be null. It
 * is closed when watching ends. -1 when `on` is false.
 *
 * The first events are the cameras that are there. A camera that arrives is asked for its serial number,
 * unless it is held. Of calls for a second watch, and of calls that end none, nothing comes but success; the
 * descriptor is the same. Ending drops the events that wait.
 *
 * Errors: #KXCAM_ERROR_CONFIGURATION; #KXCAM_ERROR_NOT_SUPPORTED where the system's libusb cannot watch;
 * #KXCAM_ERROR_SYSTEM. Not from two threads at a time. */
KXCAM_API int kxcam_watch(bool on, int* fd);

/** @brief Takes the oldest event that waits. Errors: #KXCAM_ERROR_ARGUMENT;
 * #KXCAM_ERROR_NO_FRAME if none waits. Thread-safe. */
KXCAM_API int kxcam_next_event(struct kxcam_bus_event* event, size_t size);

/** @brief Reads out a region, given in coordinates of the picture as it is delivered: the picture becomes
 * that part of what the full sensor shows, mirrored and rotated as it is now.
 *
 * CameraSetROI() gives another part while the picture is rotated, and while it is mirrored on some sensors.
 * The steps are those of kxcam_describe(), on the sensor: while the picture is rotated, `region_step_x` is
 * that of `y` and `height`, and in a mirrored direction they count from the other side. CameraSetResolution()
 * ends the region.
 *
 * Errors: #KXCAM_ERROR_NO_DEVICE; #KXCAM_ERROR_ARGUMENT if misaligned or not inside the sensor;
 * #KXCAM_ERROR_WRITE_REQUEST or #KXCAM_ERROR_READ_REQUEST if the device refuses. Thread-safe.
 */
KXCAM_API int kxcam_set_region(int camera, int x, int y, int width, int height);
/** @} */

/** @name Controls
 * The single settings of a camera by name, with what a program needs to show them.
 * @{ */

/** Bits of `flags` of #kxcam_control. */
enum kxcam_control_flag {
  KXCAM_CONTROL_WHOLE = 0x1, /**< whole numbers only */
  KXCAM_CONTROL_VIEW = 0x2   /**< another view of a setting that has a control of its own; not to be stored */
};

/** A setting. The strings live as long as the library. */
struct kxcam_control {
  const char* name;           /**< "exposure-ms" */
  const char* unit;           /**< "ms"; "" for a plain number */
  const char* group;          /**< "exposure": what to show together */
  const char* description;    /**< one line for users */
  double minimum;             /**< smallest value that is taken */
  double maximum;             /**< largest */
  double step;                /**< what the camera and its memory tell apart */
  double neutral;             /**< what a reset makes of it; NaN for a view */
  const char* const* choices; /**< words for the values 0, 1 and so on, then null; or null */
  uint32_t flags;             /**< #kxcam_control_flag */
  uint32_t reserved;          /**< 0 */
};

/** @brief Tells about control `number`, 0 and up. A setting comes before those whose meaning it changes,
 * which is the order to restore them in. Errors: #KXCAM_ERROR_ARGUMENT behind the last one. Thread-safe. */
KXCAM_API int kxcam_get_control(int number, struct kxcam_control* control, size_t size);

/** @brief Reads a control. Errors: #KXCAM_ERROR_ARGUMENT if there is none of that name;
 * #KXCAM_ERROR_NOT_SUPPORTED if this camera does not offer
 * it; others as of the function of kxcam.h behind it. Thread-safe. */
KXCAM_API int kxcam_get(int camera, const char* control, double* value);

/** @brief Sets a control. Errors: #KXCAM_ERROR_ARGUMENT if there is none of that name, if the value is out of
 * range and if a whole number or a choice is given a fraction; #KXCAM_ERROR_NOT_SUPPORTED; others as of the
 * function of kxcam.h behind it. Thread-safe. */
KXCAM_API int kxcam_set(int camera, const char* control, double value);
/** @} */

/** @name Errors and messages
 * @{ */

/** @brief Cause of the calling thread's last call of the library: 0 after success, -1 after a failure without
 * a code.
 *
 * Unlike #last_error it does not mix threads. Four functions leave it alone: CameraGetLastError(), this one,
 * kxcam_error_text() and kxcam_error_remedy(). Thread-safe. */
KXCAM_API int kxcam_thread_error(void);

/** @brief What a cause means, in a few words without a full stop: "no frame in time". Never null.
 * Thread-safe. */
KXCAM_API const char* kxcam_error_text(int code);

/** @brief What a user may do about it, in sentences; "" where there is nothing to advise. Never null.
 * Thread-safe. */
KXCAM_API const char* kxcam_error_remedy(int code);

/** @brief Sets where the library's messages go instead of standard output and error; null: there again.
 *
 * @param handler is called with one message, without a newline at its end, and `data`. It runs in the thread
 * whose call has something to say, or in that of kxcam_watch(), one message at a time; it must not call the
 * library.
 * @param data is handed through
 *
 * With a handler set, a malformed configuration file counts as an absent one, with
 * #KXCAM_ERROR_CONFIGURATION where it can be returned; without one it ends the process. When the call
 * returns, the handler of before is not running any more. For the whole process. Thread-safe. */
KXCAM_API void kxcam_set_message_handler(void (*handler)(const char* text, void* data), void* data);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* KXCAM_EXTRA_H */

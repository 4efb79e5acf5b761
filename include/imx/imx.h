/**
 * @file
 * @brief Quillmark IMX: loading, changing and saving raster images from C.
 *
 * An image is an opaque handle; its pixels are rows of R, G, B, A bytes, top row first, without
 * gaps. A call that can fail returns an @ref imx_status and, where the caller gives an @ref
 * imx_report, puts the reason into it in words. Nothing is printed and no exception leaves the
 * library.
 *
 * **Threads.** The library's state belongs to the process. Every call that loads, saves, makes,
 * changes or frees an image takes one lock inside the library, so calls from several threads are
 * safe and run one after the other; many files at a time are faster in many processes. The
 * questions about an image (size, pixels, texts) take no lock: while one thread changes an image,
 * no other may use it.
 *
 * **Growing structures.** The structures that are passed in begin with their own size, which
 * the caller or imx_..._init() sets. A program keeps working with later libraries of the same major
 * version, whose structures may be longer.
 */
#ifndef IMX_IMX_H
#define IMX_IMX_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__) && !defined(_WIN32)
/** Marks what the library exports. */
#define IMX_API __attribute__((visibility("default")))
#else
#define IMX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** An image; made by loading, imx_image_new() or imx_image_copy(), released by imx_image_free(). */
typedef struct imx_image imx_image;

/** What a call came to. */
typedef enum imx_status {
  IMX_OK = 0,
  IMX_BAD_ARGUMENT = 1,   /**< a null pointer, an unknown name, a number out of its range */
  IMX_CANNOT_OPEN = 2,    /**< the system refuses the file */
  IMX_NOT_KNOWN = 3,      /**< not an image of a known type, or one that cannot be saved */
  IMX_CHOICE_MISSING = 4, /**< a headerless file whose size or layout was not told */
  IMX_NO_SUCH_FRAME = 5,  /**< the sequence has imx_report::frames of them */
  IMX_ABOVE_LIMIT = 6,    /**< it takes more than imx_load_options::max_bytes */
  IMX_TOO_LARGE = 7,      /**< it would be more pixels than an image can have */
  IMX_NO_MEMORY = 8,      /**< memory ran out */
  IMX_PLUGIN_FAILED = 9,  /**< the plug-in for the type is missing or failed */
  IMX_ENDED_EARLY = 10,   /**< the file ends before its picture does */
  IMX_DAMAGED = 11,       /**< the file's data cannot be decoded */
  IMX_STOPPED = 12,       /**< the progress function asked to stop */
  IMX_SAVE_FAILED = 13, /**< the file could not be written; what was there before is still there */
  IMX_OUTSIDE = 14,     /**< nothing of the region lies within the image */
  IMX_NO_PIXELS = 15,   /**< the operation would leave less than a pixel */
  IMX_CALLED_FROM_PROGRESS = 16 /**< a progress function may not call back into the library */
} imx_status;

/** What a call has to say; filled by every call that it is given to. */
typedef struct imx_report {
  size_t struct_size; /**< sizeof(imx_report), set by the caller before the call */
  int32_t status;     /**< the imx_status that the call returned */
  int32_t frames;     /**< of a loaded sequence; 0 for other files */
  char text[512]; /**< why the call failed, or what is missing of the image; empty when all is well
                   */
  char note[512]; /**< what else there is to know, such as a text that the file cannot keep */
} imx_report;

/**
 * Told how far a call has got. A result other than 0 asks it to stop: the call then returns
 * IMX_STOPPED, gives no image, and leaves the file that it was to replace as it was. It runs in the
 * calling thread, may not call the library and may not throw.
 *
 * @param user what the options carry as progress_user
 * @param title what is being done, such as "Reading TGA"; lives until the function returns
 * @param position steps done so far, from 0
 * @param total steps in all
 */
typedef int (*imx_progress)(void* user, const char* title, int32_t position, int32_t total);

/** How files are read in the places where this library and other programs differ. */
typedef enum imx_reading {
  IMX_READ_EXACT = 0, /**< the library's own way */
  IMX_READ_AT_NEED =
      1,               /**< its own way; as other programs do where that gives nothing or not all */
  IMX_READ_INTEROP = 2 /**< as other programs do */
} imx_reading;

/** How the bytes of a headerless file are laid out. */
typedef enum imx_raw_layout {
  IMX_RAW_BY_NAME = -1, /**< by the file's extension */
  IMX_RAW_GREY = 0,
  IMX_RAW_RED = 1,
  IMX_RAW_GREEN = 2,
  IMX_RAW_BLUE = 3,
  IMX_RAW_RGB = 4,
  IMX_RAW_RBG = 5,
  IMX_RAW_GBR = 6,
  IMX_RAW_GRB = 7,
  IMX_RAW_BGR = 8,
  IMX_RAW_BRG = 9,
  IMX_RAW_THREE_FILES = 10 /**< one file for each channel, beside each other */
} imx_raw_layout;

/** What a load is told. imx_load_options_init() first. */
typedef struct imx_load_options {
  size_t struct_size; /**< set by the function that sets the defaults */
  uint64_t max_bytes; /**< memory that the load may take; 1 GiB */
  int32_t reading;    /**< an imx_reading; IMX_READ_EXACT */
  int32_t frame;      /**< of a sequence, from 0; 0 */
  int32_t raw_layout; /**< of a headerless file: an imx_raw_layout; IMX_RAW_BY_NAME */
  int32_t raw_width;  /**< of a headerless file, in pixels; 0, which is not known */
  int32_t raw_height; /**< of the same */
  const char*
      extension; /**< stands for that of the file's name, without a dot; null: the name's own */
  const char* quirks;    /**< names with commas between of what is read as others do; null: all */
  imx_progress progress; /**< null: none */
  void* progress_user;   /**< handed to the progress function */
} imx_load_options;

/** Where the colours of a file of 8 bits or fewer come from. */
typedef enum imx_palette_source {
  IMX_PALETTE_FIXED = 0,
  IMX_PALETTE_GREY = 1,
  IMX_PALETTE_BUILT = 2, /**< built from the image */
  IMX_PALETTE_OWN = 4    /**< the image's palette, see imx_image_set_palette(); for 8 bits */
} imx_palette_source;

/** What a save is told. imx_save_options_init() first. */
typedef struct imx_save_options {
  size_t struct_size; /**< set by the function that sets the defaults */
  const char* type;   /**< extension of the type without a dot; null: by the path's own */
  const char* quirks; /**< what is written as others do: names with commas between; null: nothing */
  int32_t depth;      /**< bits per pixel; 0: 32 with alpha, else 24, else the type's first */
  int32_t compress;   /**< 0 or 1, for types that can; 1 */
  int32_t interlace;  /**< 0 or 1, for types that can; 0 */
  int32_t quality;    /**< 0 to 100, for types that have it; 100 */
  int32_t
      palette_source;    /**< an imx_palette_source, where colours are reduced; IMX_PALETTE_BUILT */
  int32_t palette_bits;  /**< 1 to 8 bits of the palette; 0: as many as the depth */
  int32_t ordered;       /**< 0 error diffusion, 1 ordered dither; 0 */
  int32_t strength;      /**< of the dither, 0 to 100 percent; 100 */
  int32_t durable;       /**< 1: the new file is on the disk before it replaces the old one; 1 */
  imx_progress progress; /**< null: none */
  void* progress_user;   /**< handed to the progress function */
} imx_save_options;

/** Texts that an image carries. Files keep them as far as their type has room. */
typedef enum imx_text {
  IMX_TEXT_AUTHOR = 0,
  IMX_TEXT_COMMENT = 1,
  IMX_TEXT_NOTICE = 2, /**< the rights notice */
  IMX_TEXT_NAME = 3,   /**< for display */
  IMX_TEXT_FORMAT = 4  /**< short label of the format that the image was loaded from; read only */
} imx_text;

/** A rectangle of pixels; all four edges belong to it. */
typedef struct imx_region {
  int32_t left;   /**< first column */
  int32_t top;    /**< first row */
  int32_t right;  /**< last column */
  int32_t bottom; /**< last row */
} imx_region;

/** A type of files. */
typedef struct imx_format {
  size_t struct_size;      /**< sizeof(imx_format), set by the caller */
  const char* extension;   /**< without a dot */
  const char* label;       /**< for file dialogs */
  int32_t can_load;        /**< 0 or 1 */
  int32_t can_save;        /**< 0 or 1 */
  int32_t has_compression; /**< 0 or 1 */
  int32_t has_interlace;   /**< 0 or 1 */
  int32_t has_quality;     /**< 0 or 1 */
  int32_t depth_count;     /**< entries of depths in use */
  int32_t depths[10];      /**< bits per pixel that can be saved */
  int32_t author_bytes;    /**< of the author that files keep; 0: none */
  int32_t comment_bytes;   /**< of the comment */
  int32_t notice_bytes;    /**< of the rights notice */
} imx_format;

/** What a file tells of its picture in front of the pixels. */
typedef struct imx_info {
  size_t struct_size; /**< sizeof(imx_info), set by the caller before the call */
  int32_t width;      /**< pixels in a row */
  int32_t height;     /**< number of rows */
  int32_t depth;      /**< bits per pixel */
  int32_t has_alpha;  /**< 0 or 1; -1 where only the pixels tell */
  int32_t frames;     /**< of a sequence; 0 for other files */
  char format[32];    /**< short label of the format */
} imx_info;

/** How two images differ. The channels are red, green, blue and alpha. */
typedef struct imx_difference {
  size_t struct_size;        /**< sizeof(imx_difference), set by the caller before the call */
  uint64_t different_pixels; /**< those out of tolerance in any channel */
  int32_t largest[4];        /**< largest difference, in levels */
  double mean[4];            /**< mean difference, in levels */
  double psnr[4]; /**< peak signal-to-noise ratio in dB; infinite where nothing differs */
} imx_difference;

/** The library's version, such as "1.0.0". */
IMX_API const char* imx_version(void);

/** Sets every field to its default. */
IMX_API void imx_load_options_init(imx_load_options* options);

/** Sets every field to its default. */
IMX_API void imx_save_options_init(imx_save_options* options);

/**
 * @brief Loads a file, whose type its first bytes tell and for some types its name.
 *
 * With IMX_ENDED_EARLY and IMX_DAMAGED there may be an image as well: what could be read of it, the
 * rest blank.
 *
 * @param path of the file
 * @param options null for the defaults
 * @param[out] image the image, which the caller frees; null when there is none
 * @param[out] report null when it is not wanted
 */
IMX_API imx_status imx_load_file(const char* path, const imx_load_options* options,
                                 imx_image** image, imx_report* report);

/**
 * @brief The same for a file that is in memory.
 *
 * The types that are known by their name (Targa, PCX, Alias, FLIC, DEM, headerless files) need
 * imx_load_options::extension.
 *
 * @param bytes of the file
 * @param size number of bytes
 * @param options null for the defaults
 * @param[out] image the image, which the caller frees; null when there is none
 * @param[out] report null when it is not wanted
 */
IMX_API imx_status imx_load_memory(const void* bytes, size_t size, const imx_load_options* options,
                                   imx_image** image, imx_report* report);

/**
 * @brief Tells what a file says of its picture, at a cost that does not grow with the pixels.
 *
 * A few formats say nothing in front of their pixels and are decoded all the same.
 *
 * @param path of the file
 * @param options as for imx_load_file()
 * @param[in,out] info what is told; as it was on failure
 * @param[out] report null when it is not wanted
 */
IMX_API imx_status imx_probe_file(const char* path, const imx_load_options* options, imx_info* info,
                                  imx_report* report);

/** The same for a file that is in memory, as imx_load_memory() takes it. */
IMX_API imx_status imx_probe_memory(const void* bytes, size_t size, const imx_load_options* options,
                                    imx_info* info, imx_report* report);

/**
 * @brief Saves to a file. Half a file is never left: the old one is there until a whole new one
 * replaces it.
 *
 * @param image stays as it is
 * @param path of the file
 * @param options null for the defaults
 * @param[out] report null when it is not wanted
 */
IMX_API imx_status imx_save_file(imx_image* image, const char* path,
                                 const imx_save_options* options, imx_report* report);

/**
 * @brief Saves into memory. imx_save_options::type is needed.
 *
 * @param image stays as it is
 * @param options with a type
 * @param[out] bytes of the file, which the caller releases with imx_bytes_free(); null on failure
 * @param[out] size number of bytes
 * @param[out] report null when it is not wanted
 */
IMX_API imx_status imx_save_memory(imx_image* image, const imx_save_options* options, void** bytes,
                                   size_t* size, imx_report* report);

/** Releases what imx_save_memory() gave. Null is passed over. */
IMX_API void imx_bytes_free(void* bytes);

/**
 * @brief An image of width x height pixels.
 *
 * @param width in pixels, from 1
 * @param height in pixels, from 1
 * @param rgba rows of R, G, B, A bytes without gaps, which are copied; null: all bytes 0
 * @param alpha whether the fourth bytes are alpha; without it they are passed over and saved as
 * opaque
 * @param[out] image which the caller frees; null on failure
 * @param[out] report null when it is not wanted
 */
IMX_API imx_status imx_image_new(int32_t width, int32_t height, const uint8_t* rgba, int32_t alpha,
                                 imx_image** image, imx_report* report);

/** Another image of the same pixels, palette and texts. */
IMX_API imx_status imx_image_copy(const imx_image* image, imx_image** copy, imx_report* report);

/** Releases an image. Null is passed over. */
IMX_API void imx_image_free(imx_image* image);

/** Pixels in a row. */
IMX_API int32_t imx_image_width(const imx_image* image);

/** Number of rows. */
IMX_API int32_t imx_image_height(const imx_image* image);

/** Bits per pixel of the file that it was loaded from; 0 when it was made. */
IMX_API int32_t imx_image_depth(const imx_image* image);

/** 1 when the alpha bytes mean something, else 0. */
IMX_API int32_t imx_image_has_alpha(const imx_image* image);

/** Says whether the alpha bytes mean something. */
IMX_API void imx_image_set_alpha(imx_image* image, int32_t alpha);

/** Number of frames of the sequence that it is one of; 0 when it is of none. */
IMX_API int32_t imx_image_frames(const imx_image* image);

/**
 * @brief The pixels, which may be changed: height rows of width pixels of R, G, B, A, without gaps.
 *
 * They are the image's own and stay where they are until an operation that gives it another size,
 * or imx_image_free().
 */
IMX_API uint8_t* imx_image_pixels(imx_image* image);

/** One of the texts: never null, at most 255 bytes; lives until it is set or the image is freed. */
IMX_API const char* imx_image_text(const imx_image* image, imx_text which);

/** Sets a text of at most 254 bytes; null is the empty one. */
IMX_API imx_status imx_image_set_text(imx_image* image, imx_text which, const char* text,
                                      imx_report* report);

/**
 * @brief Copies the palette of the file that the image was loaded from.
 *
 * @param image which
 * @param[out] rgb 256 colours of R, G, B
 * @return number of colours in use
 */
IMX_API int32_t imx_image_palette(const imx_image* image, uint8_t rgb[768]);

/** Sets the palette: count colours of R, G, B, 1 to 256; for IMX_PALETTE_OWN. */
IMX_API imx_status imx_image_set_palette(imx_image* image, const uint8_t* rgb, int32_t count,
                                         imx_report* report);

/** Makes the region the whole image. */
IMX_API imx_status imx_clip(imx_image* image, const imx_region* region, imx_report* report);

/** Makes the region (null: all), scaled by factor with the nearest neighbour, the whole image. */
IMX_API imx_status imx_rescale(imx_image* image, const imx_region* region, float factor,
                               imx_report* report);

/** Makes the region (null: all), scaled by factor bilinearly, the whole image. */
IMX_API imx_status imx_resample(imx_image* image, const imx_region* region, float factor,
                                imx_report* report);

/** Gives the image just this size: averaged in linear light and weighted by alpha. */
IMX_API imx_status imx_resize(imx_image* image, int32_t width, int32_t height, imx_report* report);

/** Fits the image into width x height (0: no limit) and keeps its shape. */
IMX_API imx_status imx_fit(imx_image* image, int32_t width, int32_t height, imx_report* report);

/** Turns the image clockwise by quarters of a turn. */
IMX_API imx_status imx_rotate(imx_image* image, int32_t quarters, imx_report* report);

/** Turns the image upside down. */
IMX_API imx_status imx_flip(imx_image* image, imx_report* report);

/** Mirrors the image left to right. */
IMX_API imx_status imx_flop(imx_image* image, imx_report* report);

/** Raises the colours, as fractions, to the power gamma, which is above 0. */
IMX_API imx_status imx_gamma(imx_image* image, float gamma, imx_report* report);

/** Puts the image on a colour; no alpha is left. */
IMX_API imx_status imx_flatten(imx_image* image, uint8_t red, uint8_t green, uint8_t blue,
                               imx_report* report);

/** Puts source, resampled, into the region (null: all) of image, blended by its alpha. */
IMX_API imx_status imx_merge(imx_image* image, const imx_region* region, const imx_image* source,
                             imx_report* report);

/** Counts the distinct colours, alpha aside. */
IMX_API imx_status imx_count_colours(const imx_image* image, int32_t* colours, imx_report* report);

/**
 * @brief Tells how two images of one size differ; one without alpha is opaque.
 *
 * @param first which is compared
 * @param second with which
 * @param tolerance levels that channels may be apart, 0 to 255
 * @param[in,out] difference what is told; as it was on failure
 * @param[out] report null when it is not wanted
 */
IMX_API imx_status imx_compare(const imx_image* first, const imx_image* second, int32_t tolerance,
                               imx_difference* difference, imx_report* report);

/** Number of types of files. */
IMX_API int32_t imx_format_count(void);

/** Tells about the type of that index, from 0. The texts in it live as long as the library. */
IMX_API imx_status imx_format_at(int32_t index, imx_format* format);

#ifdef __cplusplus
}
#endif

#endif

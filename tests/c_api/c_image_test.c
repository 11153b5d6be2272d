/* Image conversion through the C interface, from a BMP made here byte by byte. */
#include "c_test.h"

/* A 4 x 2 BMP of 24 bits: red, green, blue and white over black, grey, black and grey. */
static size_t make_bmp(unsigned char* bmp) {
  static const unsigned char header[54] = {
      'B', 'M', 78, 0, 0,    0,    0, 0, 0,    0,    54, 0, 0, 0, /* file header: size 78, pixels at 54 */
      40,  0,   0,  0, 4,    0,    0, 0, 2,    0,    0,  0, 1, 0, 24, 0, 0, 0, 0, 0,
      24,  0,   0,  0, 0x13, 0x0B, 0, 0, 0x13, 0x0B, 0,  0, 0, 0, 0,  0, 0, 0, 0, 0};
  /* Bottom row first, blue-green-red. */
  static const unsigned char pixels[24] = {0, 0, 0,   128, 128, 128, 0,   0, 0, 128, 128, 128,
                                           0, 0, 255, 0,   255, 0,   255, 0, 0, 255, 255, 255};
  memcpy(bmp, header, sizeof header);
  memcpy(bmp + sizeof header, pixels, sizeof pixels);
  return sizeof header + sizeof pixels;
}

static uint32_t big_endian_at(const uint8_t* bytes, size_t at) {
  return ((uint32_t)bytes[at] << 24) | ((uint32_t)bytes[at + 1] << 16) | ((uint32_t)bytes[at + 2] << 8) |
         bytes[at + 3];
}

static int32_t little_endian_at(const uint8_t* bytes, size_t at) {
  return (int32_t)((uint32_t)bytes[at] | ((uint32_t)bytes[at + 1] << 8) | ((uint32_t)bytes[at + 2] << 16) |
                   ((uint32_t)bytes[at + 3] << 24));
}

static void convert_gives_a_whole_png_of_the_same_size(void) {
  unsigned char bmp[128];
  const size_t size = make_bmp(bmp);
  uint8_t* png = NULL;
  size_t length = 0;
  CHECK_INT(TMU_OK, tmu_image_convert(bmp, size, TMU_IMAGE_PNG, NULL, 0, &png, &length));
  CHECK(png != NULL && length > 33);
  if (png != NULL && length > 33) {
    CHECK(memcmp(png, "\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16) == 0);
    CHECK_INT(4, big_endian_at(png, 16));
    CHECK_INT(2, big_endian_at(png, 20));
    CHECK(memcmp(png + length - 8, "IEND\xAE\x42\x60\x82", 8) == 0);
  }
  tmu_free(png);
}

static void convert_to_jpeg_takes_the_quality(void) {
  unsigned char bmp[128];
  const size_t size = make_bmp(bmp);
  const uint32_t quality = 80;
  uint8_t* jpeg = NULL;
  size_t length = 0;
  CHECK_INT(TMU_OK, tmu_image_convert(bmp, size, TMU_IMAGE_JPEG, &quality, 1, &jpeg, &length));
  CHECK(jpeg != NULL && length > 4);
  if (jpeg != NULL && length > 4) {
    CHECK(memcmp(jpeg, "\xFF\xD8\xFF", 3) == 0);
    CHECK(memcmp(jpeg + length - 2, "\xFF\xD9", 2) == 0);
  }
  tmu_free(jpeg);
}

static void resize_gives_a_bmp_of_the_asked_size(void) {
  unsigned char bmp[128];
  const size_t size = make_bmp(bmp);
  uint8_t* stretched = NULL;
  size_t length = 0;
  CHECK_INT(TMU_OK, tmu_image_resize(bmp, size, 8, 6, &stretched, &length));
  CHECK(stretched != NULL && length >= 54 + 8 * 6 * 3);
  if (stretched != NULL && length >= 54) {
    CHECK(memcmp(stretched, "BM", 2) == 0);
    CHECK_INT(length, little_endian_at(stretched, 2));
    CHECK_INT(8, little_endian_at(stretched, 18));
    CHECK_INT(6, little_endian_at(stretched, 22));
  }
  tmu_free(stretched);
}

/* A size without pixels or beyond 100 megapixels is not stretched: TMU_OK and no bytes, as the
 * class gives it (it logs why at WARN). */
static void resize_to_a_size_the_class_does_not_make_gives_no_bytes(void) {
  static const int32_t sizes[4][2] = {{0, 10}, {10, 0}, {-5, 10}, {70000, 70000}};
  unsigned char bmp[128];
  const size_t size = make_bmp(bmp);
  size_t i;
  for (i = 0; i < 4; ++i) {
    uint8_t* output = bmp;
    size_t length = 5;
    CHECK_INT(TMU_OK, tmu_image_resize(bmp, size, sizes[i][0], sizes[i][1], &output, &length));
    CHECK(output == NULL);
    CHECK_INT(0, length);
  }
}

static void bytes_that_do_not_decode_fail_the_conversion(void) {
  static const unsigned char junk[64] = {0x5A, 0x5A, 0x5A};
  uint8_t* output = (uint8_t*)junk;
  size_t length = 5;
  CHECK_INT(TMU_FAILED, tmu_image_convert(junk, sizeof junk, TMU_IMAGE_PNG, NULL, 0, &output, &length));
  CHECK(output == NULL);
  CHECK_INT(0, length);
  /* An empty source is the class's "Source buffer is NULL or empty!"; a null one is refused here. */
  CHECK_INT(TMU_FAILED, tmu_image_convert(junk, 0, TMU_IMAGE_PNG, NULL, 0, &output, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_image_convert(NULL, 0, TMU_IMAGE_PNG, NULL, 0, &output, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_image_resize(NULL, 0, 2, 2, &output, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_image_to_clipboard(NULL, 0));
  CHECK_INT(TMU_INVALID_ARGUMENT,
            tmu_image_convert(junk, sizeof junk, TMU_IMAGE_PNG, NULL, 0, NULL, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_image_resize(junk, sizeof junk, 2, 2, &output, NULL));
}

static void clipboard_takes_a_bmp_where_there_is_one(void) {
  unsigned char bmp[128];
  const size_t size = make_bmp(bmp);
#if defined(_WIN32)
  CHECK_INT(TMU_OK, tmu_image_to_clipboard(bmp, size));
#else
  /* A headless Linux process has no system clipboard to reach. */
  CHECK_INT(TMU_FAILED, tmu_image_to_clipboard(bmp, size));
#endif
  CHECK_INT(TMU_FAILED, tmu_image_to_clipboard(bmp, 10));
}

const c_test_case c_image_cases[] = {
    {"image_convert_gives_a_whole_png_of_the_same_size", convert_gives_a_whole_png_of_the_same_size},
    {"image_convert_to_jpeg_takes_the_quality", convert_to_jpeg_takes_the_quality},
    {"image_resize_gives_a_bmp_of_the_asked_size", resize_gives_a_bmp_of_the_asked_size},
    {"image_resize_to_a_size_the_class_does_not_make_gives_no_bytes",
     resize_to_a_size_the_class_does_not_make_gives_no_bytes},
    {"image_bytes_that_do_not_decode_fail_the_conversion", bytes_that_do_not_decode_fail_the_conversion},
    {"image_clipboard_takes_a_bmp_where_there_is_one", clipboard_takes_a_bmp_where_there_is_one},
    {NULL, NULL}};

/* Makes a PNG of at most 128 x 128 pixels of each file: thumbnails FILE... */
#include <stdio.h>

#include "imx/imx.h"

static int make_thumbnail(const char* path) {
  imx_report report = {.struct_size = sizeof report};
  imx_load_options options;
  imx_image* image = NULL;
  char output[4096];

  imx_load_options_init(&options);
  options.reading = IMX_READ_AT_NEED;
  imx_status status = imx_load_file(path, &options, &image, &report);
  if (status != IMX_OK) fprintf(stderr, "%s: %s\n", path, report.text);
  if (!image) return 0;

  snprintf(output, sizeof output, "%s.thumbnail.png", path);
  status = IMX_OK;
  if (imx_image_width(image) > 128 || imx_image_height(image) > 128) {
    status = imx_fit(image, 128, 128, &report);
  }
  if (status == IMX_OK) status = imx_save_file(image, output, NULL, &report);
  if (status != IMX_OK) fprintf(stderr, "%s: %s\n", path, report.text);
  if (status == IMX_OK) {
    printf("%s: %d x %d\n", output, (int)imx_image_width(image), (int)imx_image_height(image));
  }
  imx_image_free(image);
  return status == IMX_OK;
}

int main(int argc, char** argv) {
  int failed = 0;
  for (int i = 1; i < argc; ++i) failed += !make_thumbnail(argv[i]);
  return failed > 0;
}

// mvutil image: converts, stretches, inspects and copies image files with the library's ImageUtil.
#ifndef MVUTIL_IMAGE_COMMAND_H
#define MVUTIL_IMAGE_COMMAND_H

#include "command.h"

namespace mvutil {

extern const char kImageUsage[];

// mvutil image convert IN OUT --to jpeg|png|gif|tiff|bmp [--quality N]
//              resize IN OUT WIDTHxHEIGHT
//              info FILE
//              clip IN.bmp
// OUT is written under a temporary name next to it and renamed when complete, so a failed run
// never leaves a partial file.
int RunImageCommand(const Args& args, Io& io);

}  // namespace mvutil

#endif  // MVUTIL_IMAGE_COMMAND_H

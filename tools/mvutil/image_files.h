// Whole image files in and out for mvutil image: read at once, written whole or not at all.
#ifndef MVUTIL_IMAGE_FILES_H
#define MVUTIL_IMAGE_FILES_H

#include <string>
#include <vector>

namespace mvutil {

// Reads the whole file named `name` (UTF-8). On failure returns false with a short reason.
bool ReadWholeFile(const std::string& name, std::vector<unsigned char>& bytes, std::string& error);

// Writes `length` bytes to "<name>.part" next to `name`, then renames it to `name`. On failure
// removes the partial file and returns false with a short reason.
bool WriteFileAtomically(const std::string& name, const unsigned char* bytes, std::size_t length,
                         std::string& error);

// The format a file's first bytes announce: "BMP", "JPEG", "PNG", "GIF", "TIFF", or "" when
// none of these.
std::string FormatBySignature(const std::vector<unsigned char>& bytes);

}  // namespace mvutil

#endif  // MVUTIL_IMAGE_FILES_H

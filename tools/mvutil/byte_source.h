// Reads a named file, or standard input for "-", in blocks.
#ifndef MVUTIL_BYTE_SOURCE_H
#define MVUTIL_BYTE_SOURCE_H

#include <functional>
#include <istream>
#include <string>

namespace mvutil {

// Calls `consume` with successive blocks of the file's bytes. On failure returns false and sets
// `error` to a short reason ("No such file or directory", "Is a directory", ...).
bool ForEachBlock(const std::string& name, std::istream& standardInput,
                  const std::function<void(const unsigned char*, std::size_t)>& consume, std::string& error);

}  // namespace mvutil

#endif  // MVUTIL_BYTE_SOURCE_H

// mvutil's version, as --version prints it and the shipper reports it (swVersion).
//
// It is defined in its own object (version.cpp), linked into each executable, so that the
// installer's upgrade test can link the same tool under the next version without compiling it again.
#ifndef MVUTIL_VERSION_H
#define MVUTIL_VERSION_H

namespace mvutil {

extern const char kVersion[];

}  // namespace mvutil

#endif  // MVUTIL_VERSION_H

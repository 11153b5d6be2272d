// Test seam: makes one step of an image conversion fail as the system would make it fail.
//
// Some failures cannot be provoked from outside on a healthy machine (a stream that cannot be
// created in a fresh compound file, a temporary folder the system cannot name). While an object
// of this class lives, the workspace step it names fails on every thread; the back ends ask
// ImageFaultInjected at that step. Not for production use.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_IMAGE_FAULTS_H
#define TAVROMEDIVANEUTIL_PLATFORM_IMAGE_FAULTS_H

namespace Tavro_KVO_Util::platform {

enum class ImageFault {
  kNone,
  kComStart,           // COM cannot be initialised for the thread (an error other than another model)
  kTempPath,           // the temporary folder cannot be found
  kStorage,            // the compound file cannot be created
  kSourceStream,       // "SourceStream" cannot be created
  kDestinationStream,  // "DestinationStream" cannot be created
  kWriteSource,        // the source bytes cannot be written
  kRewind,             // the destination stream cannot be rewound
  kSetClipboardData,   // the clipboard refuses the data
};

class ImageFaultForTesting {
 public:
  explicit ImageFaultForTesting(ImageFault fault);
  ~ImageFaultForTesting();
  ImageFaultForTesting(const ImageFaultForTesting&) = delete;
  ImageFaultForTesting& operator=(const ImageFaultForTesting&) = delete;

 private:
  ImageFault mPrevious;
};

// True while a test has asked for `fault`.
bool ImageFaultInjected(ImageFault fault);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_IMAGE_FAULTS_H

// The workspace contract both back ends keep, run against whichever this build has.
#include <gtest/gtest.h>

#include <vector>

#include "platform/image_faults.h"
#include "platform/image_workspace.h"
#include "platform/image_workspace_fixture.h"

namespace Tavro_KVO_Util::platform {
namespace {

using ImageWorkspaceContract = ImageWorkspaceTest;

TEST_F(ImageWorkspaceContract, WriteAndRewindFaultsFailTheirSteps) {
  const std::vector<unsigned char> bmp = Bmp4x3();
  ImageWorkspace workspace;
  ASSERT_EQ(workspace.Open(), OpenStatus::kOpen);
  {
    ImageFaultForTesting fault(ImageFault::kWriteSource);
    EXPECT_FALSE(workspace.WriteSource(bmp.data(), static_cast<unsigned long>(bmp.size())));
  }
  EXPECT_TRUE(workspace.WriteSource(bmp.data(), static_cast<unsigned long>(bmp.size())));
  workspace.LoadSource();
  ASSERT_TRUE(workspace.SaveSource(Encoder(L"image/bmp"), nullptr));
  {
    ImageFaultForTesting fault(ImageFault::kRewind);
    EXPECT_FALSE(workspace.RewindDestination());
  }
  EXPECT_TRUE(workspace.RewindDestination());
}

TEST_F(ImageWorkspaceContract, ABmpSourceStretchesToTheAskedForSize) {
  const std::vector<unsigned char> bmp = Bmp4x3();
  ImageWorkspace workspace;
  OpenAndLoad(workspace, bmp);
  workspace.StretchSource(8, 6);
  workspace.SaveStretched(Encoder(L"image/bmp"));
  const std::vector<unsigned char> out = ReadAllDestination(workspace);
  ASSERT_GE(out.size(), 54u);
  EXPECT_EQ(out[0], 'B');
  EXPECT_EQ(out[1], 'M');
  EXPECT_EQ(Le32At(out, 14), 40u);        // the information header
  EXPECT_EQ(Le32At(out, 18), 8u);         // width
  EXPECT_EQ(Le32At(out, 22), 6u);         // height (bottom-up)
  EXPECT_EQ(out[28], 24);                 // the source's 24 bits per pixel
  EXPECT_EQ(out.size(), 54u + 24u * 6u);  // rows of 8 pixels: 24 bytes, no padding
}

}  // namespace
}  // namespace Tavro_KVO_Util::platform

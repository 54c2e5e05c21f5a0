// SPDX-License-Identifier: Apache-2.0

// Which caps a camera gives, and that its pictures are those of the library, byte by byte.

#include <cctype>
#include <cstdlib>

#include <gmock/gmock.h>
#include <gst/base/gstbasesrc.h>
#include <gst/video/video.h>

#include "element_bus.h"

namespace kxcam::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class GstPictures : public ElementBus {};

struct Row {
  const char* camera;
  const char* caps;
  const char* roi;
  bool meta;
  int format;
  size_t pixel_bytes;
  size_t stride;  ///< of the buffer
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.camera << ' ' << row.caps << ' ' << row.roi;
}

constexpr int kColor = KXCAM_FORMAT_COLOR;
constexpr int kBgr = KXCAM_FORMAT_BGR;
constexpr int k32 = KXCAM_FORMAT_32BIT;
constexpr Row kRows[] = {
    {"3600", "video/x-raw", "", false, kColor, 3, 2160},
    {"3600", "video/x-raw,format=BGR,width=360", "", true, kColor | kBgr, 3, 1080},
    {"3600", "video/x-raw,format=RGBx", "", false, kColor | k32, 4, 2880},
    {"3600", "video/x-raw,format=BGRx", "", false, kColor | kBgr | k32, 4, 2880},
    {"3600", "video/x-raw,format=GRAY8,height=480", "", false, KXCAM_FORMAT_GREY, 1, 640},
    {"3600", "video/x-bayer,format=rggb", "", false, KXCAM_FORMAT_RAW, 1, 720},
    // Rows that are no multiple of four bytes: as they are for those who take the video meta, else padded.
    {"3500", "video/x-raw,format=BGR", "100,100,202,102", true, kColor | kBgr, 3, 606},
    {"3500", "video/x-raw,format=BGR", "100,100,202,102", false, kColor | kBgr, 3, 608},
    {"3500", "video/x-bayer,format=grbg", "100,100,202,102", true, KXCAM_FORMAT_RAW, 1, 204},
    // Monochrome, eight bits and twelve.
    {"312B", "video/x-raw", "", false, KXCAM_FORMAT_GREY, 1, 1280},
    {"312B", "video/x-raw,format=BGR", "", false, kColor | kBgr, 3, 3840},
    {"369B", "video/x-raw,format=GRAY16_LE", "", false, KXCAM_FORMAT_RAW, 2, 1440},
};

class GstPicture : public GstPictures, public testing::WithParamInterface<Row> {};

TEST_P(GstPicture, IsTheLibrarysByteByByte) {
  const Row& row = GetParam();
  plug_still(row.camera);
  Element element(*row.roi != 0 ? std::string("roi=") + row.roi : "", row.caps);
  if (row.meta) element.take_video_meta();
  element.play();
  const Buffer buffer = element.pull();
  ASSERT_NE(buffer, nullptr);
  // The camera stays open and shows the same to whoever asks.
  element.set_state(GST_STATE_PAUSED);
  const Bytes expected = query(row.format);
  const auto height = static_cast<size_t>(std::atoi(element.current("height").c_str()));
  ASSERT_GT(height, 0U);
  const size_t row_bytes = expected.size() / height;
  const GstVideoMeta* meta = gst_buffer_get_video_meta(buffer.get());
  EXPECT_EQ(meta != nullptr ? static_cast<size_t>(meta->stride[0]) : GST_ROUND_UP_4(row_bytes), row.stride);
  GstMapInfo map;
  ASSERT_TRUE(gst_buffer_map(buffer.get(), &map, GST_MAP_READ));
  ASSERT_EQ(map.size, row.stride * height);
  int wrong = 0;
  for (size_t y = 0; y < height; ++y) {
    for (size_t x = 0; x < row_bytes; ++x) {
      const bool unused = row.pixel_bytes == 4 && x % 4 == 3;
      wrong += !unused && map.data[y * row.stride + x] != expected[y * row_bytes + x] ? 1 : 0;
    }
  }
  EXPECT_EQ(wrong, 0);
  gst_buffer_unmap(buffer.get(), &map);
}

std::string name_of(const testing::TestParamInfo<Row>& row) {
  std::string name = std::to_string(row.index) + "_" + row.param.camera + "_";
  for (const char* letter = row.param.caps; *letter != 0; ++letter) {
    if (std::isalnum(static_cast<unsigned char>(*letter)) != 0) name += *letter;
  }
  return name + (row.param.meta ? "_meta" : "");
}

INSTANTIATE_TEST_SUITE_P(Of, GstPicture, testing::ValuesIn(kRows), name_of);

TEST_F(GstPictures, CapsAreThoseOfTheCamera) {
  plug_still("3600");
  Element element;
  EXPECT_TRUE(gst_caps_is_equal(element.caps().get(),
                                gst_pad_get_pad_template_caps(GST_BASE_SRC_PAD(element.get()))));
  ASSERT_EQ(element.set_state(GST_STATE_READY), GST_STATE_CHANGE_SUCCESS);
  const auto text = [&] {
    gchar* const caps = gst_caps_to_string(element.caps().get());
    const std::string result = caps;
    g_free(caps);
    return result;
  };
  constexpr const char* kColours = "format=(string){ RGB, BGR, RGBx, BGRx, GRAY8 }, ";
  constexpr const char* kBayer = "format=(string)rggb, ";
  for (const char* format : {kColours, kBayer}) {
    for (const char* size : {"width=(int)720, height=(int)540", "width=(int)360, height=(int)270"})
      EXPECT_THAT(text(), HasSubstr(std::string(format) + size));
  }
  // Raw frames stay as the sensor has them.
  element.set("rotate-90", "true");
  EXPECT_THAT(text(), AllOf(HasSubstr(std::string(kColours) + "width=(int)540, height=(int)720"),
                            HasSubstr(std::string(kBayer) + "width=(int)720, height=(int)540")));
  element.set("roi", "8,16,202,102");
  EXPECT_THAT(text(), AllOf(HasSubstr("width=(int)202, height=(int)102"),
                            HasSubstr("width=(int)102, height=(int)202"), Not(HasSubstr("720"))));
}

TEST_F(GstPictures, ThatDoNotFitAreRefusedWithThoseThatDo) {
  plug_still("3600");
  struct {
    const char* caps;
    const char* complaint;
  } constexpr kRows[] = {
      {"video/x-raw,width=641", "It has 720x540, 360x270, 640x480;"},
      {"video/x-raw,format=I420", "It has RGB, BGR, RGBx, BGRx, GRAY8, rggb;"},
  };
  for (const auto& [caps, complaint] : kRows) {
    Element element("", caps);
    element.play();
    EXPECT_THAT(element.error(), HasSubstr(complaint));
  }
}

TEST_F(GstPictures, FollowWhatChangesWhileTheyStream) {
  plug_still("3600");
  Element element("", "video/x-raw,format=GRAY8");
  element.play();
  ASSERT_NE(element.pull(), nullptr);
  const auto until = [&](const char* width, const char* height) {
    for (int i = 0; i < 50 && element.current("width") != width; ++i) element.pull();
    EXPECT_EQ(element.current("width"), width);
    EXPECT_EQ(element.current("height"), height);
    const size_t bytes = static_cast<size_t>(GST_ROUND_UP_4(std::atoi(width)) * std::atoi(height));
    const Buffer picture = element.pull();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(gst_buffer_get_size(picture.get()), bytes);
  };
  element.set("rotate-90", "true");
  until("540", "720");
  element.set("roi", "8,16,102,202");
  until("102", "202");
  element.set("roi", "");
  until("540", "720");
  element.set("resolution", "1");
  until("270", "360");
  element.set("roi", "1,2,3");
  EXPECT_THAT(element.warning(), HasSubstr("X,Y,WIDTH,HEIGHT"));
}

TEST_F(GstPictures, CapsAndCameraAgreeOnTheFrameRate) {
  plug_still("3600");
  const auto rate = [](const std::string& properties, const char* caps) {
    Element element(properties, caps);
    element.play();
    EXPECT_NE(element.pull(), nullptr);
    return element.current("framerate") + ", " + element.property("frame-rate") + ", " +
           element.property("fixed-rate");
  };
  EXPECT_EQ(rate("", "ANY"), "0/1, 10, false");
  EXPECT_EQ(rate("", "video/x-raw,framerate=25/2"), "25/2, 12.5, true");
  EXPECT_EQ(rate("frame-rate=20", "video/x-raw,framerate=[1/1,15/1]"), "15/1, 15, true");
}

TEST_F(GstPictures, RawOnesDoNotExposeThemselves) {
  plug_still("3600");
  Element element("auto-exposure=true auto-white-balance=true", "video/x-bayer");
  element.play();
  EXPECT_THAT(element.warning(), HasSubstr("auto-exposure, auto-white-balance"));
}

}  // namespace
}  // namespace kxcam::test

/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Picture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <unistd.h>
#include <opencv2/imgcodecs.hpp>

namespace orva::client {
namespace {

class PictureTest : public testing::Test {
protected:
    PictureTest()
            : mPath(testing::TempDir() + "orva-picture-" + std::to_string(getpid()) + ".png") {}
    ~PictureTest() override { std::filesystem::remove(mPath); }

    // Red on the left half, blue on the right one.
    Picture twoColours(int width, int height) {
        cv::Mat pixels(height, width, CV_8UC3, cv::Scalar(0, 0, 255));
        pixels(cv::Rect(width / 2, 0, width - width / 2, height)) = cv::Scalar(255, 0, 0);
        cv::imwrite(mPath, pixels);
        return Picture(mPath);
    }

    const std::string mPath;
};

TEST_F(PictureTest, GivesRedGreenBlue) {
    const Picture picture = twoColours(8, 4);
    EXPECT_EQ(picture.stretched(2, 1, false), (std::vector<uint8_t>{255, 0, 0, 0, 0, 255}));
    EXPECT_EQ(picture.stretched(4, 1, true),
              (std::vector<uint8_t>{255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255}));
    EXPECT_EQ(picture.grey(2, 1), (std::vector<uint8_t>{76, 29}));
}

TEST_F(PictureTest, FitsIntoASquare) {
    const struct {
        int width;
        int height;
        int left;
        int top;
    } cases[] = {{8, 4, 0, 2}, {4, 8, 2, 0}, {8, 8, 0, 0}, {800, 1, 0, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height);
        Placement placement = {};
        const std::vector<uint8_t> bytes = twoColours(c.width, c.height).fitted(8, &placement);
        ASSERT_EQ(bytes.size(), 8U * 8 * 3);
        EXPECT_EQ(placement.left, c.left);
        EXPECT_EQ(placement.top, c.top);
        EXPECT_EQ(placement.scale, 8.0 / std::max(c.width, c.height));
        // The first pixel inside is red; what is above or left of it is black.
        const size_t first = static_cast<size_t>(c.top * 8 + c.left) * 3;
        EXPECT_EQ(bytes[first], 255);
        if (first > 0) {
            EXPECT_EQ(bytes[first - 3], 0);
        }
    }
}

TEST_F(PictureTest, NamesTheFileThatIsNoPicture) {
    std::ofstream(mPath) << "no picture";
    try {
        const Picture picture(mPath);
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find(mPath), std::string::npos);
    }
    EXPECT_THROW(twoColours(2, 2).save("/nowhere/at/all.png"), std::runtime_error);
}

TEST_F(PictureTest, DrawsFacesBeyondTheEdges) {
    Picture picture = twoColours(32, 32);
    Face face = {0.9F, -10, -10, 100, 100, {}};
    picture.draw(face);
    face = {0.9F, 4, 16, 8, 8, {}};
    picture.draw(face);
    picture.save(mPath);
    const cv::Mat drawn = cv::imread(mPath);
    EXPECT_GT(drawn.at<cv::Vec3b>(20, 4)[1], 100) << "the box's left edge is green";
}

}  // namespace
}  // namespace orva::client

/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/PictureFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "client/io/Exif.h"

namespace orva::client {
namespace {

namespace fs = std::filesystem;

class PictureFile : public testing::Test {
protected:
    PictureFile() { fs::create_directories(folder_); }
    ~PictureFile() override { fs::remove_all(folder_); }

    std::string path(const std::string& name) const { return folder_ / name; }
    std::string file(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }
    static std::string contentOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static void expectRefused(const std::string& path, const std::string& told) {
        try {
            readPicture(path);
            ADD_FAILURE() << path << " was read";
        } catch (const std::runtime_error& error) {
            EXPECT_NE(std::string(error.what()).find(told), std::string::npos) << error.what();
        }
    }

private:
    const fs::path folder_ = testing::TempDir() + "orva-picture-test-" + std::to_string(getpid());
};

// Smooth, so that a JPEG can say it.
Pixels slope(int width, int height) {
    Pixels pixels(width, height);
    for (int i = 0; i < width * height; ++i) {
        const int numbers[] = {2 * (i % width), 3 * (i / width), i % width + i / width};
        std::copy(std::begin(numbers), std::end(numbers), pixels.at(i % width, i / width));
    }
    return pixels;
}

TEST_F(PictureFile, IsReadAsItWasWrittenInEachForm) {
    const Pixels picture = slope(60, 41);
    for (const auto& [name, tolerance] :
         {std::pair("a.png", 0), {"a.ppm", 0}, {"a.jpg", 4}, {"A.JPEG", 4}}) {
        writePicture(path(name), picture);
        const Pixels read = readPicture(path(name));
        ASSERT_EQ(read.width, 60) << name;
        ASSERT_EQ(read.height, 41) << name;
        int worst = 0;
        for (size_t i = 0; i < read.bytes.size(); ++i) {
            worst = std::max(worst, std::abs(read.bytes[i] - picture.bytes[i]));
        }
        EXPECT_LE(worst, tolerance) << name;
    }
    EXPECT_THROW(writePicture(path("a.gif"), picture), std::runtime_error);
    EXPECT_FALSE(fs::exists(path("a.gif")));
}

TEST_F(PictureFile, IsRefusedWithItsReason) {
    writePicture(path("whole.png"), slope(60, 41));
    writePicture(path("whole.jpg"), slope(60, 41));
    const std::string png = contentOf(path("whole.png")), jpeg = contentOf(path("whole.jpg"));
    std::string flipped = png;
    flipped[png.size() / 2] ^= 1;
    const std::tuple<const char*, std::string, const char*> cases[] = {
            {"text", "no picture", "no PNG, JPEG or PPM"},
            {"short.png", png.substr(0, png.size() / 2), "short.png"},
            {"flipped.png", flipped, "flipped.png"},
            {"short.jpg", jpeg.substr(0, jpeg.size() / 2), "short.jpg"},
            {"header.jpg", jpeg.substr(0, 20), "header.jpg"},
            {"short.ppm", "P6 2 2 255\n12345678901", "cut short"},
            {"none.ppm", "P6 0 2 255\n", "no pixels"},
            {"huge.ppm", "P6 2147483647 2147483647 255\n", "too many"},
            {"wrong.ppm", "P6 99999999999999999999 1 255\n", "8 bits"},
            {"deep.ppm", "P6 1 1 65535\n123456", "8 bits"},
            {"header.ppm", "P6 1 #", "8 bits"},
    };
    for (const auto& [name, content, told] : cases) {
        expectRefused(file(name, content), told);
    }
    expectRefused(testing::TempDir(), "it is a folder");
    EXPECT_EQ(readPicture(file("comment.ppm", "P6 # w\n1 #h\n 1 255\nabc")).bytes,
              (std::vector<uint8_t>{'a', 'b', 'c'}));
}

// Three by two pixels, 1 to 6, as each way of holding the camera has them stored.
TEST_F(PictureFile, OfACameraIsTurnedUpright) {
    int orientation = 0;
    for (const char* const shades :
         {"123456", "321654", "654321", "456123", "142536", "362514", "635241", "415263"}) {
        const int width = ++orientation < 5 ? 3 : 2;
        Pixels stored(width, 6 / width);
        for (size_t i = 0; i < stored.bytes.size(); ++i) {
            stored.bytes[i] = static_cast<uint8_t>(shades[i / 3]);
        }
        const Pixels seen = upright(stored, orientation);
        ASSERT_EQ(seen.width, 3) << orientation;
        for (size_t i = 0; i < seen.bytes.size(); ++i) {
            EXPECT_EQ(seen.bytes[i], '1' + i / 3) << orientation;
        }
    }
}

TEST_F(PictureFile, SaysHowTheCameraWasHeld) {
    writePicture(path("x.jpg"), slope(8, 4));
    const std::string jpeg = contentOf(path("x.jpg"));
    using namespace std::string_literals;
    const std::string big = "MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0"s;
    const std::string little = "II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x08\0\0\0\0\0\0\0"s;
    const auto with = [&](const std::string& tiff, int length) {
        const std::string record = "Exif\0\0"s + tiff;
        const auto size = static_cast<size_t>(length < 0 ? record.size() + 2 : length);
        return jpeg.substr(0, 2) + "\xff\xe1"s + static_cast<char>(size >> 8) +
               static_cast<char>(size) + record + jpeg.substr(2);
    };
    std::string far = little, odd = little, many = little;
    far[7] = 0x7f;   // the directory lies outside
    odd[18] = 9;     // no such orientation
    many[9] = 0x7f;  // more entries than there are bytes
    many[10] = 0;
    const std::pair<std::string, int> cases[] = {
            {jpeg, 1},
            {with(big, -1), 6},
            {with(little, -1), 8},
            {with(far, -1), 1},
            {with(odd, -1), 1},
            {with(many, -1), 1},
            {with(little, 0xffff), 1},  // longer than the file
            {with(little, 1), 1},       // shorter than its own length
            {"", 1},
    };
    for (const auto& [content, orientation] : cases) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(content.data());
        EXPECT_EQ(exifOrientation(bytes, content.size()), orientation);
    }
    const Pixels turned = readPicture(file("turned.jpg", with(big, -1)));
    EXPECT_EQ(turned.width, 4);
    EXPECT_EQ(turned.height, 8);
}

}  // namespace
}  // namespace orva::client

/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/PictureFile.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include <png.h>
#include <turbojpeg.h>

#include "client/io/Exif.h"
#include "client/io/File.h"

namespace orva::client {

namespace {

constexpr uint64_t kMostPixels = uint64_t{1} << 28;
constexpr int kJpegQuality = 95;

enum class Form { kUnknown, kPng, kJpeg, kPpm };

Form formOf(const FileBytes& file) {
    const auto begins = [&](const char* text, size_t size) {
        return file.size() >= size && std::memcmp(file.data(), text, size) == 0;
    };
    if (begins("\x89PNG\r\n\x1a\n", 8)) {
        return Form::kPng;
    }
    if (begins("\xff\xd8\xff", 3)) {
        return Form::kJpeg;
    }
    return begins("P6", 2) ? Form::kPpm : Form::kUnknown;
}

Form formOf(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    if (ending == ".png") {
        return Form::kPng;
    }
    if (ending == ".jpg" || ending == ".jpeg") {
        return Form::kJpeg;
    }
    return ending == ".ppm" ? Form::kPpm : Form::kUnknown;
}

// `width` and `height` are as the file has them.
Pixels canvasOf(int64_t width, int64_t height) {
    if (width <= 0 || height <= 0 ||
        static_cast<uint64_t>(width) > kMostPixels / static_cast<uint64_t>(height)) {
        throw std::runtime_error("it has no pixels, or too many");
    }
    return {static_cast<int>(width), static_cast<int>(height)};
}

// Its own memory goes with it, also when reading stops in the middle.
struct PngImage : png_image {
    PngImage() : png_image() { version = PNG_IMAGE_VERSION; }
    ~PngImage() { png_image_free(this); }
    PngImage(const PngImage&) = delete;
    PngImage& operator=(const PngImage&) = delete;

    void require(bool done) const {
        if (!done) {
            throw std::runtime_error(message);
        }
    }
};

Pixels readPng(const FileBytes& file) {
    PngImage image;
    image.require(png_image_begin_read_from_memory(&image, file.data(), file.size()) != 0);
    // With its transparency, so that nothing is blended into the colours.
    image.format = PNG_FORMAT_RGBA;
    Pixels pixels = canvasOf(image.width, image.height);
    std::vector<uint8_t> bytes(PNG_IMAGE_SIZE(image));
    image.require(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr) != 0);
    for (size_t i = 0; i < bytes.size() / 4; ++i) {
        std::memcpy(&pixels.bytes[3 * i], &bytes[4 * i], 3);
    }
    return pixels;
}

using TurboJpeg = std::unique_ptr<void, decltype(&tjDestroy)>;

Pixels readJpeg(const FileBytes& file) {
    const TurboJpeg reader(tjInitDecompress(), tjDestroy);
    int width = 0, height = 0, sampling = 0, colours = 0;
    if (tjDecompressHeader3(reader.get(), file.data(), file.size(), &width, &height, &sampling,
                            &colours) != 0) {
        throw std::runtime_error(tjGetErrorStr2(reader.get()));
    }
    Pixels pixels = canvasOf(width, height);
    // A picture that is cut short is shown by others in grey; here nobody would see that.
    if (tjDecompress2(reader.get(), file.data(), file.size(), pixels.bytes.data(), width, 0, height,
                      TJPF_RGB, TJFLAG_ACCURATEDCT) != 0) {
        throw std::runtime_error(tjGetErrorStr2(reader.get()));
    }
    return upright(pixels, exifOrientation(file.data(), file.size()));
}

// The next number of a PPM's header; comments go from # to the end of the line.
int64_t nextNumber(const FileBytes& file, size_t* at) {
    while (*at < file.size() && (std::isspace(file.data()[*at]) != 0 || file.data()[*at] == '#')) {
        const bool comment = file.data()[*at] == '#';
        for (++*at; comment && *at < file.size() && file.data()[*at] != '\n'; ++*at) {
        }
    }
    int64_t number = -1;
    for (; *at < file.size() && std::isdigit(file.data()[*at]) != 0 && number < INT32_MAX; ++*at) {
        number = 10 * std::max<int64_t>(number, 0) + (file.data()[*at] - '0');
    }
    return number;
}

Pixels readPpm(const FileBytes& file) {
    size_t at = 2;
    const int64_t width = nextNumber(file, &at);
    const int64_t height = nextNumber(file, &at);
    if (nextNumber(file, &at) != 255) {
        throw std::runtime_error("its pixels are not of 8 bits a colour");
    }
    Pixels pixels = canvasOf(width, height);
    ++at;
    if (at > file.size() || file.size() - at < pixels.bytes.size()) {
        throw std::runtime_error("it is cut short");
    }
    std::memcpy(pixels.bytes.data(), file.data() + at, pixels.bytes.size());
    return pixels;
}

std::vector<uint8_t> pngOf(const Pixels& picture) {
    PngImage image;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<uint8_t> file(size);
    image.require(png_image_write_to_memory(&image, file.data(), &size, 0, picture.bytes.data(), 0,
                                            nullptr) != 0);
    file.resize(size);
    return file;
}

std::vector<uint8_t> jpegOf(const Pixels& picture) {
    const TurboJpeg writer(tjInitCompress(), tjDestroy);
    std::vector<uint8_t> file(tjBufSize(picture.width, picture.height, TJSAMP_444));
    unsigned char* data = file.data();
    unsigned long size = file.size();
    if (tjCompress2(writer.get(), picture.bytes.data(), picture.width, 0, picture.height, TJPF_RGB,
                    &data, &size, TJSAMP_444, kJpegQuality, TJFLAG_NOREALLOC) != 0) {
        throw std::runtime_error(tjGetErrorStr2(writer.get()));
    }
    file.resize(size);
    return file;
}

std::vector<uint8_t> ppmOf(const Pixels& picture) {
    const std::string header = "P6\n" + std::to_string(picture.width) + " " +
                               std::to_string(picture.height) + "\n255\n";
    std::vector<uint8_t> file(header.begin(), header.end());
    file.insert(file.end(), picture.bytes.begin(), picture.bytes.end());
    return file;
}

}  // namespace

Pixels readPicture(const std::string& path) {
    const FileBytes file(path);
    try {
        switch (formOf(file)) {
        case Form::kPng:
            return readPng(file);
        case Form::kJpeg:
            return readJpeg(file);
        case Form::kPpm:
            return readPpm(file);
        default:
            throw std::runtime_error("it is no PNG, JPEG or PPM picture");
        }
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("cannot read the picture " + path + ": " + error.what());
    }
}

void requirePictureName(const std::string& path) {
    if (formOf(path) == Form::kUnknown) {
        throw std::runtime_error("cannot write the picture " + path +
                                 ": its name must end in .png, .jpg or .ppm");
    }
}

void writePicture(const std::string& path, const Pixels& picture) {
    requirePictureName(path);
    const Form form = formOf(path);
    const std::vector<uint8_t> file = form == Form::kPng    ? pngOf(picture)
                                      : form == Form::kJpeg ? jpegOf(picture)
                                                            : ppmOf(picture);
    writeFile(path, file.data(), file.size());
}

}  // namespace orva::client

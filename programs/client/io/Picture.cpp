/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

namespace orva::client {

namespace {

const cv::Scalar kBoxColour(80, 220, 60);
const cv::Scalar kPointColour(40, 200, 255);
const cv::Scalar kTextColour(0, 0, 0);

cv::Mat resized(const cv::Mat& pixels, int width, int height) {
    cv::Mat result;
    const bool shrinks = width < pixels.cols || height < pixels.rows;
    cv::resize(pixels, result, {width, height}, 0, 0, shrinks ? cv::INTER_AREA : cv::INTER_LINEAR);
    return result;
}

cv::Mat converted(const cv::Mat& pixels, int code) {
    cv::Mat result;
    cv::cvtColor(pixels, result, code);
    return result;
}

std::vector<uint8_t> bytesOf(const cv::Mat& pixels) {
    const cv::Mat whole = pixels.isContinuous() ? pixels : pixels.clone();
    return {whole.data, whole.data + whole.total() * whole.elemSize()};
}

}  // namespace

Picture::Picture(const std::string& path) {
    // The library would answer with a line of its own.
    if (!std::filesystem::is_regular_file(path)) {
        throw std::runtime_error("cannot read the picture " + path + ": there is no such file");
    }
    try {
        pixels_ = cv::imread(path, cv::IMREAD_COLOR);
    } catch (const cv::Exception& error) {
        throw std::runtime_error("cannot read the picture " + path + ": " + error.err);
    }
    if (pixels_.empty()) {
        throw std::runtime_error("cannot read the picture " + path + ": it is no picture");
    }
}

std::vector<uint8_t> Picture::stretched(int width, int height, bool planes) const {
    const cv::Mat rgb = converted(resized(pixels_, width, height), cv::COLOR_BGR2RGB);
    if (!planes) {
        return bytesOf(rgb);
    }
    std::vector<uint8_t> bytes;
    for (int channel = 0; channel < rgb.channels(); ++channel) {
        cv::Mat plane;
        cv::extractChannel(rgb, plane, channel);
        const std::vector<uint8_t> part = bytesOf(plane);
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

std::vector<uint8_t> Picture::grey(int width, int height) const {
    return bytesOf(converted(resized(pixels_, width, height), cv::COLOR_BGR2GRAY));
}

std::vector<uint8_t> Picture::fitted(int edge, Placement* placement) const {
    const double scale = static_cast<double>(edge) / std::max(width(), height());
    const int fittedWidth = std::max(1, static_cast<int>(std::lround(width() * scale)));
    const int fittedHeight = std::max(1, static_cast<int>(std::lround(height() * scale)));
    *placement = {scale, (edge - fittedWidth) / 2, (edge - fittedHeight) / 2};

    cv::Mat canvas(edge, edge, CV_8UC3, cv::Scalar::all(0));
    const cv::Rect place(placement->left, placement->top, fittedWidth, fittedHeight);
    resized(pixels_, fittedWidth, fittedHeight).copyTo(canvas(place));
    return bytesOf(converted(canvas, cv::COLOR_BGR2RGB));
}

void Picture::draw(const Face& face) {
    // Lines and letters that can be seen on a picture of any size.
    const int line = std::max(1, std::min(width(), height()) / 200);
    const double letters = std::max(0.4, std::min(width(), height()) / 900.0);
    const cv::Rect box(cvRound(face.left), cvRound(face.top), cvRound(face.width),
                       cvRound(face.height));
    cv::rectangle(pixels_, box, kBoxColour, line, cv::LINE_AA);
    for (const Point& point : face.keyPoints) {
        cv::circle(pixels_, {cvRound(point.x), cvRound(point.y)}, 2 * line, kPointColour,
                   cv::FILLED, cv::LINE_AA);
    }

    char text[32];
    snprintf(text, sizeof text, "face %.2f", static_cast<double>(face.score));
    int below = 0;
    const cv::Size size = cv::getTextSize(text, cv::FONT_HERSHEY_SIMPLEX, letters, 1, &below);
    const int top = std::max(0, box.y - size.height - below - line);
    cv::rectangle(pixels_, {box.x, top, size.width + 4, size.height + below + line}, kBoxColour,
                  cv::FILLED);
    cv::putText(pixels_, text, {box.x + 2, top + size.height + line}, cv::FONT_HERSHEY_SIMPLEX,
                letters, kTextColour, 1, cv::LINE_AA);
}

void Picture::save(const std::string& path) const {
    bool written = false;
    try {
        written = cv::imwrite(path, pixels_);
    } catch (const cv::Exception& error) {
        throw std::runtime_error("cannot write " + path + ": " + error.err);
    }
    if (!written) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace orva::client

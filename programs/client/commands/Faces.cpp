/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <cstring>
#include <memory>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/commands/Requests.h"
#include "client/faces/FaceDecoder.h"
#include "client/faces/FaceDrawing.h"
#include "client/io/Output.h"
#include "client/io/PictureFile.h"
#include "client/io/Terminal.h"
#include "client/model/ModelFile.h"
#include "client/report/Progress.h"
#include "describe/NumberRange.h"

namespace orva::client {

namespace {

// The network takes -1 to 1; the node converts the picture's bytes on its way in.
constexpr char kConfig[] = R"({"scale": "0.00784313725490196", "bias": "-1"})";

constexpr FaceDecoder::Grid kGrids[] = {FaceDecoder::kFine, FaceDecoder::kCoarse};

struct Options {
    std::string model;
    std::string image;
    std::string output;
    float threshold = 0.75F;
    RequestOptions request;
    bool json = false;
};

// The outputs of the detector: the scores of each grid, then the boxes of each.
bool isDetector(const ModelOutline& model) {
    constexpr int64_t kEdge = FaceDecoder::kInputEdge;
    if (model.inputs.size() != 1 ||
        model.inputs[0].dims != std::vector<int64_t>{1, kEdge, kEdge, 3} ||
        model.outputs.size() != 4) {
        return false;
    }
    for (size_t i = 0; i < 2; ++i) {
        const TensorShape& scores = model.outputs[i];
        const TensorShape& boxes = model.outputs[2 + i];
        const size_t anchors = kGrids[i].anchors();
        if (scores.elements() != anchors || scores.type != ElementType::kFloat32 ||
            boxes.elements() != anchors * FaceDecoder::kNumbersPerAnchor ||
            boxes.type != ElementType::kFloat32) {
            return false;
        }
    }
    return true;
}

// From the detector's canvas back to the picture's pixels.
Face inPicture(const Face& face, const Placement& placement) {
    constexpr float kEdge = FaceDecoder::kInputEdge;
    const auto scale = static_cast<float>(placement.scale);
    const auto x = [&](float part) {
        return (part * kEdge - static_cast<float>(placement.left)) / scale;
    };
    const auto y = [&](float part) {
        return (part * kEdge - static_cast<float>(placement.top)) / scale;
    };
    Face result = {face.score,
                   x(face.left),
                   y(face.top),
                   face.width * kEdge / scale,
                   face.height * kEdge / scale,
                   {}};
    for (size_t i = 0; i < Face::kKeyPoints; ++i) {
        result.keyPoints[i] = {x(face.keyPoints[i].x), y(face.keyPoints[i].y)};
    }
    return result;
}

std::vector<Face> decode(const std::vector<Tensor>& outputs, float threshold,
                         const Placement& placement) {
    FaceDecoder decoder(threshold);
    for (size_t i = 0; i < 2; ++i) {
        decoder.add(kGrids[i], reinterpret_cast<const float*>(outputs[i].data()),
                    reinterpret_cast<const float*>(outputs[2 + i].data()));
    }
    std::vector<Face> faces;
    for (const Face& face : decoder.faces()) {
        faces.push_back(inPicture(face, placement));
    }
    return faces;
}

nlohmann::json jsonOf(const Face& face) {
    nlohmann::json points = nlohmann::json::array();
    for (const Point& point : face.keyPoints) {
        points.push_back({point.x, point.y});
    }
    return {{"score", face.score},
            {"box",
             {{"left", face.left},
              {"top", face.top},
              {"width", face.width},
              {"height", face.height}}},
            {"key_points", points}};
}

void print(const std::vector<Face>& faces, const RequestTimes& times, const Options& options) {
    if (options.json) {
        nlohmann::json json = {{"faces", nlohmann::json::array()},
                               {"latency", times.latency.json()}};
        for (const Face& face : faces) {
            json["faces"].push_back(jsonOf(face));
        }
        puts(json.dump(2, ' ', true).c_str());
        return;
    }
    say("%zu face%s in %s\n", faces.size(), faces.size() == 1 ? "" : "s", options.image.c_str());
    for (size_t i = 0; i < faces.size(); ++i) {
        const Face& face = faces[i];
        say("face %zu: box left %.0f, top %.0f, width %.0f, height %.0f; score %.3f\n", i + 1,
            static_cast<double>(face.left), static_cast<double>(face.top),
            static_cast<double>(face.width), static_cast<double>(face.height),
            static_cast<double>(face.score));
    }
    say("%s\n", times.text().c_str());
}

void faces(const Connection& connection, const Options& options) {
    if (!options.output.empty()) {
        requirePictureName(options.output);
        requireOutputFile(options.output, {options.model, options.image});
    }
    const ModelFile file = withProgress("reading", [&] { return ModelFile(options.model); });
    const ModelOutline& model = file.pick(options.request.modelName);
    if (!isDetector(model)) {
        throw std::runtime_error(options.model +
                                 " is not the 128-pixel face detector; `orva run` runs any model");
    }
    Pixels picture = readPicture(options.image);
    Placement placement = {};
    const std::vector<uint8_t> pixels = fitted(picture, FaceDecoder::kInputEdge, &placement);

    TensorShape inputShape = model.inputs[0];
    inputShape.type = ElementType::kUint8;
    std::vector<Tensor> inputs;
    inputs.emplace_back(inputShape.attributes(), inputShape.bytes(), options.request.tensorType);
    std::memcpy(inputs[0].data(), pixels.data(), pixels.size());
    std::vector<Tensor> outputs;
    for (const TensorShape& shape : model.outputs) {
        outputs.emplace_back(shape.attributes(), shape.bytes(), options.request.tensorType);
    }

    std::vector<Model> models;
    models.push_back(file.load());
    const RequestTimes times =
            request(connection, options.request, "onnx", kConfig, models, inputs, outputs);
    const std::vector<Face> found = decode(outputs, options.threshold, placement);
    print(found, times, options);
    if (!options.output.empty()) {
        for (const Face& face : found) {
            drawFace(&picture, face);
        }
        writePicture(options.output, picture);
        if (!options.json) {
            say("drawn in %s\n", options.output.c_str());
        }
    }
}

}  // namespace

void addFaces(CLI::App* app, const Connection* connection) {
    CLI::App* command =
            addCommand(app, "faces", "Find the faces in a picture",
                       {"faces --model detector.onnx --image people.jpg --output faces.png"});
    const auto options = std::make_shared<Options>();
    command->add_option("--model", options->model, "The face detector (ONNX)")->required();
    command->add_option("--image", options->image, "The picture")->required();
    command->add_option("--output", options->output, "Where to write the picture with the faces");
    command->add_option("--threshold", options->threshold, "The least score of a face")
            ->check(describe::NumberRange(0.0, 1.0))
            ->capture_default_str();
    addRequestOptions(command, &options->request);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([connection, options] {
        checkRequestOptions(options->request);
        faces(*connection, *options);
    });
}

}  // namespace orva::client

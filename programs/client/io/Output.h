/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

namespace orva::client {

// What a command writes is judged before it does anything else: throws std::exception, naming the
// file, when it is one of the inputs, by whatever path, or could not be written. Changes nothing.
void requireOutputFile(const std::string& path, const std::vector<std::string>& inputs);
// The same for a folder that files go into, which is made when it is missing.
void requireOutputFolder(const std::string& path);

// Keeps a file that a program opens from being taken for its output, when it was started without
// one. To be called first.
void holdStandardStreams();
// Whether all that was printed has been written, which only its end tells. Says on stderr why not,
// unless the reader has just gone. To be called last.
bool finishStandardOutput();

}  // namespace orva::client

/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <deque>
#include <list>
#include <utility>

#include <orva/reference/Executor.h>

namespace orva::reference {

// Tasks that wait, in the order in which they are to run: each owner's in their own order, and the
// owners by turns, however many tasks each has. Not to be used by two threads at once.
class TaskTurns {
public:
    bool empty() const { return lines_.empty(); }

    void Add(const void* owner, Executor::Task task) {
        const auto line = std::find_if(lines_.begin(), lines_.end(),
                                       [&](const Line& each) { return each.owner == owner; });
        if (line != lines_.end()) {
            line->tasks.push_back(std::move(task));
        } else {
            lines_.push_back({owner, {}});
            lines_.back().tasks.push_back(std::move(task));
        }
    }

    // Whether one waits whose owner may run one more.
    template <class MayRun>
    bool HasOne(MayRun&& mayRun) const {
        return std::any_of(lines_.begin(), lines_.end(),
                           [&](const Line& line) { return mayRun(line.owner); });
    }

    // Takes the next one, and says whose it is; empty when there is none.
    template <class MayRun>
    Executor::Task Take(MayRun&& mayRun, const void** owner) {
        const auto line = std::find_if(lines_.begin(), lines_.end(),
                                       [&](const Line& each) { return mayRun(each.owner); });
        if (line == lines_.end()) {
            return nullptr;
        }
        Executor::Task task = std::move(line->tasks.front());
        line->tasks.pop_front();
        *owner = line->owner;
        if (line->tasks.empty()) {
            lines_.erase(line);
        } else {
            lines_.splice(lines_.end(), lines_, line);
        }
        return task;
    }

private:
    struct Line {
        const void* owner;
        std::deque<Executor::Task> tasks;  // never empty between two calls
    };
    std::list<Line> lines_;
};

}  // namespace orva::reference

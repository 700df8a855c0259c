/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Attack.h"

#include "attacks/Attacks.h"

namespace orva::attack {

const std::vector<Attack>& attacks() {
    static const std::vector<Attack> all = {
            {"shrink-sparse-region",
             "truncates a region longer than the machine's memory while it is in use",
             shrinkSparseRegion},
            {"shrink-huge-page-region", "the same with a region of huge pages",
             shrinkHugePageRegion},
            {"foreign-regions", "sends pipes, sockets, devices and ordinary files as regions",
             foreignRegions},
            {"silent-files", "sends files of a file system that it serves no longer as regions",
             silentFiles},
            {"nested-calls",
             "calls the other service from callbacks, while 16 clients open and close sessions",
             nestedCalls},
            {"slow-checks", "has 8 models checked that take very long to run", slowChecks},
            {"slow-requests", "sends requests to such models", slowRequests},
            {"slow-call-in-callback", "makes such a check from inside a callback",
             slowCallInCallback},
            {"unanswered-callbacks", "answers no callback, and registers listeners meanwhile",
             unansweredCallbacks},
            {"many-sessions", "opens sessions until it is refused, and keeps them", manySessions},
            {"many-listeners", "registers 600 listeners without a session", manyListeners},
            {"unmappable-inits", "opens 201 sessions whose models cannot be mapped, and exits",
             unmappableInits},
            {"killed-before-listener", "opens 201 sessions and is killed before it has a listener",
             killedBeforeListener},
            {"huge-models", "has models loaded that need more memory than there is", hugeModels},
            {"held-requests", "sends requests of many tensors and takes no result", heldRequests},
            {"reused-process-number", "gets the number of a dead client, and uses its session",
             reusedProcessNumber},
            {"many-connections", "connects 1,000 times, and says nothing", manyConnections},
            {"half-messages", "sends the first half of a call on each of 60 channels",
             halfMessages},
            {"held-channels", "keeps the kernel's lock of 60 channels that it has messages in",
             heldChannels},
            {"full-pipe-dumps", "asks for 20 state dumps into full pipes", fullPipeDumps},
            {"forged-log-lines", "puts newlines and terminal codes into what is logged",
             forgedLogLines},
            {"log-flood", "does what is logged, as fast as it can", logFlood},
    };
    return all;
}

}  // namespace orva::attack

/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

// memcpy_s(dest, destMax, src, count) and memset_s(dest, destMax, value, count); a nonzero result
// is a failure. A device has them in the vendor's own library, other hosts in libsafec.
#if __has_include(<securec.h>)
#include <securec.h>
#else
#include <safe_mem_lib.h>
#endif

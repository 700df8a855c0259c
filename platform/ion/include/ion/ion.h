/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <stddef.h>
#include <sys/cdefs.h>

// Buffers for accelerators, shared as descriptors. `fd` is always an open ION device; whoever
// opened it is a client of ION. A client gets a buffer either under a user handle, which means
// something in that client only, or as a descriptor at once. The buffer lives as long as a user
// handle, a descriptor or a mapping of it; its size is `len` rounded up to whole pages, its bytes
// begin as zeros, and its descriptors are closed by exec().
//
// Every call may be made from any thread, and answers 0 or a negative errno value: -EINVAL for an
// argument that cannot be, a user handle that the client does not have among them; -ENODEV when no
// heap of the mask exists; -ENOMEM when the memory is not there; -EBADF or -ENOTTY when `fd` is not
// open or no ION device.

__BEGIN_DECLS

typedef int ion_user_handle_t;  // NOLINT(modernize-use-using): C includes this as well

// A descriptor of the ION device, to be closed with ion_close; or -1, and errno says why.
int ion_open();
// Gives back the client's user handles, too.
int ion_close(int fd);

// `heap_mask` has a bit for each heap that will do, by its id. `align` is in bytes, at most a page;
// 0 is none.
int ion_alloc(int fd, size_t len, size_t align, unsigned int heap_mask, unsigned int flags,
              ion_user_handle_t* handle);
int ion_alloc_fd(int fd, size_t len, size_t align, unsigned int heap_mask, unsigned int flags,
                 int* handle_fd);
// A new descriptor of the buffer behind a user handle; it outlives the handle.
int ion_share(int fd, ion_user_handle_t handle, int* share_fd);
int ion_free(int fd, ion_user_handle_t handle);

__END_DECLS

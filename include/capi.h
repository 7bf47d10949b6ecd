/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * libcapi: the configuration library of an LTE phone adapter. Include this header and link -lcapi.
 *
 * What holds everywhere; a function's own comment states only what is its own.
 *
 *  1. Results. 0 is success and -1 failure, unless a comment says otherwise. What failed is logged
 *     (capi/log.h) as well.
 *  2. Null. A null pointer that is not said to be allowed gives -1 (or null, or nothing happens
 *     where there is no result), never a crash.
 *  3. Texts and buffers. Texts are NUL-terminated bytes, UTF-8 where they are not ASCII. A length
 *     is that of the caller's buffer in bytes; getters zero it first and copy at most length - 1
 *     characters.
 *  4. Ownership. The caller owns what it passes in and what is filled in for it. Constant texts
 *     that are returned live as long as the library.
 *  5. Numbering. Lines are 1 and 2 and stacks 1 to 5 in the configuration, and counted from 0 in
 *     the runtime status.
 *  6. Threads. Calls may come from any thread; the critical sections exclude threads as they
 *     exclude processes. capi_init() and capi_uninit() are called while no other thread uses the
 *     library.
 *  7. Fork. A child of fork() without exec may use the library if its parent held no critical
 *     section at the time. It does not own the parent's locks.
 *  8. Callbacks. Those of capi_init() run with lock 0 held and must not call anything that takes
 *     it. They may read by capi/live.h.
 *  9. Death. A process that dies gives its critical sections back through the kernel. A record
 *     that it was setting is the old one or the new one (on kernels with process_vm_readv()). So is
 *     a file that it was writing, also after a power cut; only one that cannot be replaced, as a
 *     file of several names, may be cut. Once a call has returned, a store's file is the new one.
 * 10. Start. The master's capi_init() comes first on the device; every process calls capi_init()
 *     before anything else.
 * 11. Commands. Some calls run a shell with a text of the caller's in its command line. Where it
 *     stands without quotes, a text that the shell would interpret is refused with -1 and a log
 *     line before a shell sees it: one with any of | & ; < > ( ) $ ` \ " ' * ? [ { or a line end
 *     in it, or with # or ~ at the beginning of a word. Blanks part words. A text may begin with
 *     "-" and be an option: that is the caller's to avoid.
 */
#ifndef CAPI_H
#define CAPI_H

#include "capi/api.h"
#include "capi/backend.h"
#include "capi/call_log.h"
#include "capi/carrier.h"
#include "capi/config.h"
#include "capi/config_key.h"
#include "capi/device.h"
#include "capi/event.h"
#include "capi/ipc.h"
#include "capi/lifecycle.h"
#include "capi/live.h"
#include "capi/lock.h"
#include "capi/log.h"
#include "capi/records.h"
#include "capi/runtime.h"
#include "capi/schema.h"
#include "capi/signal.h"
#include "capi/sms.h"
#include "capi/snapshot.h"
#include "capi/stack_line.h"
#include "capi/util.h"
#include "capi/watch.h"

/* Apart stands capi/thread.h, the portable layer, for it cannot meet <threads.h>. */

#endif

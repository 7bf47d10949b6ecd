// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The opaque block of the IMS voice application, for the rooms inside.
//
// The block is kept twice: in the record, which is gone with the segment, and in the file
// "info.ims_voice" in the nv directory, which stays. The file's bytes are what readers get.
//
// Leaves to its callers what the bytes mean.
#pragma once

namespace capi {

// Copies the block, of CAPI_IMS_VOICE_BYTES, from the file. Returns 0, or -1 without a file of that
// size; then it holds what the record has, or what the file has of it. Takes lock 0, then lock 10.
int get_ims_voice(void* block);

}  // namespace capi

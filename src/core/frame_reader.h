// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// Starts the thread that fills the context's ring while `running` is set. The context must outlive
/// the thread; join_reader() ends that obligation. Throws std::system_error.
void start_reader(CameraContext& context);

/// Waits for the reader to end, if there is one: at most one transfer after `running` was cleared.
void join_reader(CameraContext& context);

/// Body of the thread: collects bulk transfers into frames.
void reader(CameraContext& context);

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <string_view>

namespace kxcam {

using MessageHandler = void (*)(const char* text, void* data);

/// Writes a message as it is to `stream`, or hands it to the program, without white space at its end. Null:
/// it is for programs that take messages, and never written.
void say(std::FILE* stream, std::string_view text);

/// Whether the program takes the messages.
bool has_message_handler();

/// Takes effect when no handler is running any more; null: messages are written.
void set_message_handler(MessageHandler handler, void* data);

}  // namespace kxcam

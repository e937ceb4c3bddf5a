// The library for new C++ programs: a thin layer of headers, all in namespace tqa, on top of the
// interface in tqamsg/tqamsg.h, which it includes too.
//
//     tqa::Message       owns a message
//     tqa::Cursor        reads an element, its values and its children
//     tqa::Builder       makes a message from start to end (tqamsg/binary/builder.h)
//     tqa::FrameReader   takes messages from a file descriptor, tqa::FrameBuffer from bytes;
//                        tqa::writeFrame() sends them
//
// docs/tutorial.md writes an operator with it, docs/cookbook.md has the rest by example.
#pragma once

#include "tqamsg/cpp/cursor.h"
#include "tqamsg/cpp/frames.h"
#include "tqamsg/cpp/message.h"
#include "tqamsg/tqamsg.h"

// How pasteboard type strings name X selection targets, and the targets that carry staged text.
//
// Type strings. A target is named by its pasteboard type when the table in
// x11_clipboard_types.cpp has one (UTF8_STRING is "public.utf8-plain-text", image/png is
// "public.png"), else by its own atom name ("text/plain;charset=utf-8", "COMPOUND_TEXT",
// "application/x-private"). X replies carry a type and a format of their own; when they are the
// target itself and 8, nothing more is said. Otherwise the type string says so after the name,
// so that writing it back serves the same target with the same reply type, format and bytes:
//
//     TEXT;x11-type=COMPOUND_TEXT            GTK answers TEXT with compound text
//     APP_NUMBERS;x11-type=INTEGER;x11-format=32
//
// Data of format 16 or 32 is carried as the protocol's 16- or 32-bit units in this machine's
// byte order. Names that themselves contain ";x11-type=", and an X target literally named like
// a type of the table ("public.png"), are the only ones that do not come back exactly.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/platform.h"

namespace textport::x11 {

// A target as an owner serves it: its name, and the type and format of its replies.
struct SelectionTarget {
  std::string name;
  std::string replyType;
  int format = 8;
};

// The target, reply type and format that a type string names.
SelectionTarget targetForType(const std::string& type);
// The type string for a target answered with this reply type and format.
std::string typeForTarget(const std::string& target, const std::string& replyType, int format);

// Whether a target of a TARGETS list stands for data, not for a selection mechanism (TARGETS,
// MULTIPLE, TIMESTAMP, SAVE_TARGETS, DELETE, INSERT_SELECTION, INSERT_PROPERTY).
bool isDataTarget(std::string_view target);

// Whether a type string is the plain-text type with nothing said about its reply.
bool isPlainText(const std::string& type);

// The targets under which staged UTF-8 text is served, in the order TARGETS lists them:
//   UTF8_STRING, text/plain;charset=utf-8   the UTF-8 bytes;
//   STRING                                   Latin-1, only when every character has a Latin-1
//                                            code (STRING is Latin-1 by definition, and a
//                                            lossy copy would paste other text than staged);
//   TEXT                                     as STRING when it is offered, else as UTF8_STRING
//                                            (the owner picks TEXT's encoding);
//   text/plain                               the UTF-8 bytes, as current toolkits read it.
std::vector<std::pair<SelectionTarget, Bytes>> plainTextTargets(const Bytes& utf8);

}  // namespace textport::x11

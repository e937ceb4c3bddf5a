// Inputs of every shape: n children, levels, characters, attributes, declarations or raw elements.
#pragma once

#include "tqamsg/tqa.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace linear {

// Where the many are: below the element before the last of a packet.
inline constexpr char kPlace[] = "data";

std::string repeated(std::string_view part, std::size_t n);

// XML of a shape, without an element around it.
std::string content(std::string_view shape, std::size_t n);

// <packet><data>content</data><veid>5</veid></packet>
std::string packetText(std::string_view shape, std::size_t n);
tqa::Message packet(std::string_view shape, std::size_t n);

// A SOAP request whose operation element holds the content, and the answer to one as a message.
std::string soapRequest(std::string_view shape, std::size_t n);
tqa::Message soapReply(std::string_view shape, std::size_t n);

// A packet whose "data" holds raw elements that can be expanded: n of them for the shape "width",
// else one with that content.
tqa::Message rawPacket(std::string_view shape, std::size_t n);

// A packet whose "data" has n children, and stands between two elements that are as large.
tqa::Message packetWithMiddle(std::size_t n);

// A packet of n elements with a raw child each, which can be expanded.
tqa::Message packetWithRawPairs(std::size_t n);

// A packet whose elements have namespaces: n children, or n levels.
tqa::Message packetWithNamespaces(std::string_view shape, std::size_t n);

std::unique_ptr<TQABinaryIterator> iteratorOn(const tqa::Message& message);

// On the last element of the last of its children and so on: the farthest place.
void seekFarthest(TQABinaryIterator& it);

}  // namespace linear

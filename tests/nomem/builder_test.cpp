// The builder, the C++ layer, the frames reader and the check of messages without memory.

#include "tqamsg/binary/builder.h"

#include "tqamsg/binary/verify.h"
#include "tqamsg/cpp/frames.h"
#include "tqamsg/cpp/message.h"

#include "tests/nomem/message_stage.h"
#include "tests/nomem/sweep.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace tqa_test;
using tqa::Builder;

const std::string kVem = "data/vem";

// More levels than a walk keeps without memory.
std::string deepContent() {
    return message(container(
        1398, nested(1001, 100, tqa_test::element(1001, static_cast<tqa::Kind>(99), "x"))));
}

// A pipe that holds two frames, the second too long for the reader's first room.
int openFrames() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    EXPECT_GT(fcntl(ends[1], F_SETPIPE_SZ, 1 << 20), 0);
    const std::string frames = typedContent() + std::string(100000, 'x') + '\0';
    EXPECT_EQ(write(ends[1], frames.data(), frames.size()), static_cast<ssize_t>(frames.size()));
    close(ends[1]);
    return ends[0];
}

struct BuilderStage {
    BuilderStage() = default;
    BuilderStage(const BuilderStage&) = delete;
    BuilderStage& operator=(const BuilderStage&) = delete;
    ~BuilderStage() { close(frames); }

    tqa::Message message = tqa::Message::load(typedContent());
    tqa::Message other = tqa::Message::load(typedContent());
    tqa::Message made;
    Builder builder;
    std::string text;
    std::string deep = deepContent();
    tqa::Bytes bytes;
    int number = 0;
    int frames = openFrames();

    static std::string treeOf(const tqa::Message& m) {
        const auto bytes = m.bytes();
        return bytes ? tree(bytes.view()) : "none";
    }
    std::string outcome() const {
        return treeOf(message) + treeOf(made) + text + std::to_string(number) +
               (bytes ? tree(bytes.view()) : "");
    }
    std::string state() const { return outcome() + std::string(message.bytes().view()); }
    void rewind() {}
    void reload() {}
    // After a fault a builder is begun anew.
    void again() { builder.clear(); }

    int take(tqa::Message fresh) {
        made = std::move(fresh);
        return made ? 0 : -1;
    }
    // Nothing else may have gone wrong.
    int failed() const { return builder.fault() == Builder::Fault::NoMemory ? -1 : -50; }
};

using S = BuilderStage;

Builder& build(Builder& b) {
    b.open("packet").version(40000).id(kLong).put("target", "vem").open("data").open("vem", "vem");
    b.put("name", kHuge).putRaw(kHuge).putBase64("body", kHuge).put("veid", 5).putTime("time", 5);
    return b.closeAll();
}

// As FrameReader answers, 0 for a second frame.
int readFrames(S& s) {
    tqa::FrameReader reader(s.frames);
    if (reader.next() != tqa::Frame::Whole || reader.next() != tqa::Frame::Whole)
        return reader.last() == tqa::Frame::NoMemory ? -1 : -50;
    s.number = static_cast<int>(reader.frame().size());
    return 0;
}

// Nothing is added without memory, and what has come stays.
int gatherFrames(S& s) {
    static const std::string kText(100000, 'x');
    tqa::FrameBuffer frames;
    if (!frames.append(typedContent())) return -1;
    const bool isAdded = frames.append(kText);
    if (frames.next() != tqa::Frame::Whole || frames.frame() != typedContent()) return -50;
    s.number = isAdded ? static_cast<int>(frames.frame().size()) : s.number;
    return isAdded ? 0 : -1;
}

template <bool withNamespaces>
int printDeep(S& s) {
    static const std::string kBase = "urn:x/";
    const tqa::Message deep = tqa::Message::load(s.deep);
    const tqa::CText printed(deep ? deep->toText(nullptr, withNamespaces, kBase) : nullptr);
    s.number = printed == nullptr ? s.number : static_cast<int>(std::strlen(printed.get()));
    return printed == nullptr ? -1 : 0;
}

int verifyDeep(S& s) {
    tqa::Report report;
    const int status = tqa::verify(s.deep.data(), static_cast<int>(s.deep.size()), &report);
    if (status == -2) return report.fault == tqa::Fault::NoMemory ? -2 : -50;
    s.number = report.offset;
    // Without a path, when it could not be had.
    s.text = std::move(report.path);
    return status == -1 && report.fault == tqa::Fault::UnknownKind ? 0 : -50;
}

const Scenario<S> kScenarios[] = {
    {"finish", [](S& s) { return s.take(tqa::Message(build(s.builder))) == 0 ? 0 : s.failed(); }},
    {"finish with bytes",
     [](S& s) {
         char* block = nullptr;
         int size = 0;
         if (build(s.builder).finish(&block, &size) != 0) return s.failed();
         s.bytes = tqa::Bytes(block, static_cast<std::size_t>(size));
         return 0;
     }},
    {"put of an element",
     [](S& s) {
         s.builder.open("packet").put(s.message.at(kVem).element()).put("name", kHuge).closeAll();
         return s.take(tqa::Message(s.builder)) == 0 ? 0 : s.failed();
     }},
    {"create", [](S& s) { return s.take(tqa::Message::create()); }},
    {"load", [](S& s) { return s.take(tqa::Message::load(typedContent())); }},
    {"parse",
     [](S& s) { return s.take(tqa::Message::parse("<packet><data><vem/></data></packet>")); }},
    {"copy", [](S& s) { return s.take(s.message.copy()); }},
    {"reply", [](S& s) { return s.take(s.message.reply("vem")); }, kMayLack},
    {"add", [](S& s) { return s.message.add(kVem, s.other); }},
    {"bytes", [](S& s) { return (s.bytes = s.message.bytes()) ? 0 : -1; }},
    {"text",
     [](S& s) {
         const tqa::CText printed = s.message.text();
         s.number = printed == nullptr ? s.number : static_cast<int>(std::strlen(printed.get()));
         return printed == nullptr ? -1 : 0;
     }},
    {"text of many levels", printDeep<false>},
    {"text of many levels with namespaces", printDeep<true>},
    {"frames gathered", gatherFrames},
    {"iterator", [](S& s) { return s.message.iterator() == nullptr ? -1 : 0; }},
    {"a text of a cursor",
     [](S& s) {
         auto read = s.message.at(kVem).get<std::string>("name");
         if (read) s.text = std::move(*read);
         return read ? 0 : -1;
     }},
    {"Base64 of a cursor",
     [](S& s) {
         auto read = s.message.at(kVem).child("body").base64();
         if (read) s.text = std::move(*read);
         return read ? 0 : -1;
     }},
};

const Scenario<S> kVerify[] = {{"verify", verifyDeep, kMayLack, -2}};

TEST(NoMemory, WhatIsBuiltIsWholeOrAFault) {
    sweepAll("builder, C++ layer", kScenarios, [] { return std::make_unique<S>(); });
}

// What was read from the descriptor is gone: each reader has a stream of its own.
TEST(NoMemory, TheFramesReaderSaysSoAndStops) {
    SweepCount count = {1, 0, 0};
    for (const long from : {0L, 1L}) {
        S stage;
        const Blocks before = liveBlocks();
        {
            const Injection injection(from, Refusing::FromThere);
            EXPECT_EQ(readFrames(stage), -1);
            count.refused += Injection::refused();
        }
        EXPECT_EQ(liveBlocks(), before);
        ++count.injections;
    }
    report("frames", count);
}

TEST(NoMemory, TheCheckSaysNothingAboutTheMessage) {
    sweepAll("check of a message", kVerify, [] { return std::make_unique<S>(); });
}

}  // namespace

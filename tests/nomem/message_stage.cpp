#include "tests/nomem/message_stage.h"

#include "tqamsg/binary/builder.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/nomem/allocations.h"

#include <gtest/gtest.h>

namespace tqa_test {

using tqa::ElementView;

const std::string kLong(100, 'x');
const std::string kHuge(20000, 'y');
const std::string kShort = "vem";

namespace {

// A buffer is a page, and its last byte is never used.
constexpr int kPage = 4096;
constexpr int kUnused = 8;

std::string makeTyped() {
    tqa::Builder b;
    b.open("packet").version(40000).id(kLong).priority(5).time(1141740309).type(2);
    b.progress(true).log(false).timeout(60).timeoutLimit(600).uid(7);
    b.put("origin", kLong).put("target", kLong).put("session", kLong);
    b.open("src").put("target", kLong).put("director", kLong).put("index", kLong).close();
    b.open("cookie").put("veid", 5).close();
    b.open("auth").open("ve_list", "types").put("veid", 3).put("veid", 101).open("ve_range");
    b.put("start_veid", 10).put("end_veid", 20).close().close().close();
    b.open("data").open("vem", "vem").put("veid", 101).put("name", kLong).put("size", 1LL << 40);
    b.put("avg", 0.5).putBase64("body", kLong).putTime("time", 1141740309);
    b.putRaw("<configuration><veid>7</veid></configuration>").open("list").close();
    b.open("ve_list", "types").put("veid", 3).open("ve_range");
    b.put("start_veid", 10).put("end_veid", 20).close().close().closeAll();
    const Message built(static_cast<TQABinary*>(b.finish()));
    EXPECT_EQ(cursorAt(built, "data/vem")->putValueXML("<veid>5</veid>", tqa::Tag_path), 0);
    return bytes(built);
}

std::string positionOf(const Message& m, TQABinaryIterator& at) {
    const ElementView element = tqa::elementOf(at);
    const ElementView root = tqa::elementOf(*m);
    return !element ? "nowhere" : std::to_string(element.begin() - root.begin());
}

std::string contentFor(Condition condition, const std::string& content) {
    switch (condition) {
        case Condition::Tight:
            return filled(content, 0);
        case Condition::Snug:
            return filled(content, tqa::kEmptyElementSize);
        default:
            return content;
    }
}

// The copy is made with what the message has, but it is not had.
void lowerCounter(const Message& m) {
    const Injection injection(0, Refusing::FromThere);
    EXPECT_EQ(m->hardcopy(), -1);
}

}  // namespace

const std::string& typedContent() {
    static const std::string content = makeTyped();
    return content;
}

const std::string& textContent() {
    static const std::string content = bytes(parse(text(load(typedContent()))));
    return content;
}

std::string filled(const std::string& content, int room) {
    const Message m = load(content);
    const int end = kPage - kUnused - room;
    const int missing = end - static_cast<int>(content.size());
    int length = 0;
    while (tqa::elementSize(length) < missing) ++length;
    const std::string filler(static_cast<std::size_t>(length - 1), 'f');
    EXPECT_EQ(cursor(m)->putValue(filler, tqa::Tag_description), 0);
    EXPECT_EQ(bytes(m).size(), static_cast<std::size_t>(end));
    return bytes(m);
}

MessageStage::MessageStage(const std::string& content, Condition condition, const std::string& path)
    : loaded(contentFor(condition, content)), message(load(loaded)), start(path) {
    if (condition == Condition::Shared || condition == Condition::Lowered) {
        witness = copyOf(message);
    }
    if (condition == Condition::Lowered) lowerCounter(message);
    at = cursorAt(message, start);
    ids.insert(3);
    ids.insert(12, 14);
}

void MessageStage::rewind() {
    EXPECT_EQ(at->seekRoot(), 0);
    EXPECT_EQ(at->seek(start), 0);
}

// Nobody else has noticed.
void MessageStage::reload() {
    EXPECT_EQ(witness == nullptr ? loaded : bytesOf(witness), loaded);
    EXPECT_EQ(message->encode(loaded.data(), static_cast<int>(loaded.size()), nullptr), 0);
    at = cursor(message);
}

std::string MessageStage::bytesOf(const Message& m) {
    if (m == nullptr) return "none";
    const ElementView root = tqa::elementOf(*m);
    return root ? std::string(root.begin() - tqa::kRootOffset, root.end()) : "empty";
}

// Trees, as the bytes between the elements are nobody's.
std::string MessageStage::outcome() const {
    const auto treeOf = [](const Message& m) {
        const std::string content = bytesOf(m);
        return content.size() < tqa::kRootOffset ? content : tree(content);
    };
    std::string all = treeOf(message) + '\n' + treeOf(witness) + '\n' + treeOf(made) + '\n';
    all += (isPositionNoted ? positionOf(message, *at) : "") + '\n' + text + '\n' + text2 + '\n' +
           std::to_string(number) + '\n' + std::to_string(big) + '\n' + std::to_string(seconds) +
           '\n' + std::to_string(real) + (flag ? "true" : "false");
    for (auto range = ids.begin_range(); range != ids.end(); ++range) {
        all += ' ' + std::to_string((*range).first) + '-' + std::to_string((*range).second);
    }
    all += message->auth.isChanged() ? " changed " : " saved ";
    if (block == nullptr) return all;
    return all + (length == 0 ? std::string(block.get())
                              : tree({block.get(), static_cast<std::size_t>(length)}));
}

std::string MessageStage::state() {
    return outcome() + bytesOf(message) + bytesOf(witness);
}

int MessageStage::take(char* fresh) {
    block.reset(fresh);
    return fresh == nullptr ? -1 : 0;
}

int MessageStage::takeBytes(int status, char* const* fresh) {
    block.reset(*fresh);
    return status;
}

int MessageStage::take(TQAMessage* fresh) {
    made.reset(static_cast<TQABinary*>(fresh));
    return fresh == nullptr ? -1 : 0;
}

int MessageStage::take(TQAMessageIterator* fresh) {
    const std::unique_ptr<TQAMessageIterator> owned(fresh);
    return fresh == nullptr ? -1 : 0;
}

}  // namespace tqa_test

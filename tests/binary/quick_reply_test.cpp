// A binary request is answered in a quicker way than through the interfaces: with the same bytes.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/fake_message.h"
#include "tests/support/messages.h"

#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa::Kind;
using tqa_test::bytes;
using tqa_test::container;
using tqa_test::element;
using tqa_test::FakeKind;
using tqa_test::FakeMessage;
using tqa_test::intElement;
using tqa_test::load;
using tqa_test::Message;
using tqa_test::message;
using tqa_test::number;
using tqa_test::parse;
using tqa_test::stringElement;

// A kind of its own, which goes the long way.
class Derived : public TQABinary {};

std::string replyTo(TQABinary& request) {
    const Message reply(static_cast<TQABinary*>(request.genReply("vem")));
    return reply == nullptr ? "(no reply)" : bytes(reply);
}

std::string replyTheLongWay(std::string request) {
    const Message derived(new Derived);
    EXPECT_EQ(derived->init(request.data(), static_cast<int>(request.size())), 0);
    return replyTo(*derived);
}

class Requests {
  public:
    explicit Requests(unsigned int seed) : random_(seed) {}

    std::string next() {
        std::string children;
        for (std::size_t n = pick(14); n > 0; --n) children += child(2);
        return message(container(tqa::Tag_packet, children));
    }

  private:
    std::size_t pick(std::size_t n) { return random_() % n; }

    std::string child(int depth) {
        static constexpr int kIds[] = {tqa::Attr_id,    tqa::Attr_version, tqa::Attr_priority,
                                       tqa::Tag_origin, tqa::Tag_target,   tqa::Tag_session,
                                       tqa::Tag_src,    tqa::Tag_src,      tqa::Tag_cookie,
                                       tqa::Tag_cookie, tqa::Tag_director, tqa::Tag_index,
                                       tqa::Tag_data};
        const int id = kIds[pick(std::size(kIds))];
        const std::string text = std::to_string(random_() % 100000).substr(0, pick(6));
        switch (pick(9)) {
            case 0:
            case 1:
                return stringElement(id, text);
            case 2:
                return element(id, Kind::Untyped, text + '\0', static_cast<int>(pick(3)));
            case 3:
                return intElement(id, static_cast<int>(pick(90000)));
            case 4:
                return element(id, Kind::LongLong, number(std::int64_t{1} << pick(60)));
            case 5:
                return element(id, Kind::Base64, text + '\0');
            case 6:
                return element(id, pick(2) == 0 ? Kind::String : Kind::Untyped);
            case 7:
                return element(id, Kind::String, std::string(1, '\0') + text + '\0');
            default:
                return depth == 0 ? intElement(id, 1) : container(id, child(depth - 1) + child(0));
        }
    }

    std::mt19937 random_;
};

TEST(QuickReply, HasTheBytesOfTheLongWay) {
    for (unsigned int seed = 0; seed < 3000; ++seed) {
        const std::string request = Requests(seed).next();
        ASSERT_EQ(replyTo(*load(request)), replyTheLongWay(request)) << "seed " << seed;
    }
}

// A changed access list is written back when a cookie is carried over.
TEST(QuickReply, LeavesARequestWithAChangedAccessListToTheLongWay) {
    const std::string request =
        message(container(tqa::Tag_packet, container(tqa::Tag_cookie, intElement(tqa::Tag_ve, 1)) +
                                               container(tqa::Tag_auth)));
    const Message m = load(request);
    m->auth.addVE(101);
    EXPECT_EQ(replyTo(*m), replyTheLongWay(request));
    EXPECT_FALSE(m->auth.isChanged());
}

TEST(QuickReply, ReadsRawChildrenWhereIteratorsExpandThem) {
    const std::string request = message(container(
        tqa::Tag_packet, element(0, Kind::Unparsed, std::string("<origin>filem</origin>") + '\0')));
    TQABinaryIterator::Policy = TQABinaryIterator::kExpandRaw;
    const std::string reply = replyTo(*load(request));
    EXPECT_EQ(reply, replyTheLongWay(request));
    TQABinaryIterator::Policy = 0;
    EXPECT_NE(reply, replyTo(*load(request)));
}

TEST(QuickReply, IsOfTheKindThatNewMessagesAre) {
    const Message request = parse("<packet><origin>vem</origin></packet>");
    const FakeKind fakes;
    const tqa_test::FakePtr reply(dynamic_cast<FakeMessage*>(request->genReply("vzem")));
    EXPECT_NE(reply, nullptr);
}

}  // namespace

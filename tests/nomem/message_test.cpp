// Messages without memory: loading, text, export, copies, header fields, routing, access lists,
// editing by path, raw children.

#include "tqamsg/msg/message_factory.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/nomem/message_stage.h"
#include "tests/nomem/sweep.h"

#include <cstdlib>
#include <unistd.h>

namespace {

using namespace tqa_test;
using namespace tqa;
using S = MessageStage;

const std::string kBase = "http://www.tqagent.example/webservices/tqa/4.0.0/";
const std::string kNothing;

// Elements without a word too.
const std::string kXml = "<packet id=\"" + kLong + "\" uid=\"7\"><origin>" + kLong +
                         "</origin><foreign><veid>1</veid></foreign><data><vem>" + kHuge +
                         "</vem></data></packet>";
const std::string kKnownXml = "<packet id=\"7\"><data><vem>" + kHuge + "</vem></data></packet>";

// A file that holds it.
std::string fileWith(const std::string& text) {
    std::string path = testing::TempDir() + "tqamsg_nomem_XXXXXX";
    const int file = mkstemp(path.data());
    EXPECT_EQ(::write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(file);
    return path;
}

const std::string kFile = fileWith(kXml);

char* writable(const std::string& text) {
    return const_cast<char*>(text.data());
}

int sizeOf(const std::string& text) {
    return static_cast<int>(text.size());
}

// "data/vem" in the message as the editing by path knows it.
BinaryPath pathToVem(const S& s) {
    BinaryPath path;
    ElementView element = elementOf(*s.message);
    const char* const start = element.begin() - kRootOffset;
    for (const int id : {0, int{Tag_data}, int{Tag_vem}}) {
        if (id != 0) element = element.childWithId(id);
        path.push_back(element.id(), static_cast<int>(element.begin() - start));
    }
    return path;
}

int insert(S& s, const std::string& value) {
    BinaryPath path = pathToVem(s);
    return s.message->insertID(path, Tag_comment, static_cast<int>(kindWord(Kind::String)),
                               value.c_str(), sizeOf(value) + 1);
}

int replace(S& s, const std::string& value) {
    BinaryPath path = pathToVem(s);
    const ElementView name =
        elementOf(*s.message).childWithId(Tag_data).childWithId(Tag_vem).childWithId(Tag_name);
    path.push_back(Tag_name,
                   static_cast<int>(name.begin() - elementOf(*s.message).begin()) + kRootOffset);
    return s.message->insertValue(path, static_cast<int>(Kind::String), value.c_str(),
                                  sizeOf(value) + 1);
}

int remove(S& s) {
    BinaryPath path = pathToVem(s);
    return s.message->deleteID(path);
}

// As long as it lives new messages and iterators have these flags.
class Policies {
  public:
    Policies(std::uint32_t reader, std::uint32_t iterator) {
        TQABinary::Policy = reader;
        TQABinaryIterator::Policy = iterator;
    }
    Policies(const Policies&) = delete;
    Policies& operator=(const Policies&) = delete;
    ~Policies() {
        TQABinary::Policy = 0;
        TQABinaryIterator::Policy = 0;
    }
};

const Scenario<S> kLoading[] = {
    {"init", [](S& s) { return s.message->init(writable(typedContent()), sizeOf(typedContent())); },
     kLosesContent},
    {"encode",
     [](S& s) {
         return s.message->encode(writable(typedContent()), sizeOf(typedContent()), nullptr);
     },
     kLosesContent},
    {"encode of a text",
     [](S& s) { return s.message->encode(writable(kXml), sizeOf(kXml) + 1, nullptr); },
     kLosesContent},
    {"encode at",
     [](S& s) {
         return s.message->encode(writable(typedContent()), sizeOf(typedContent()), s.at.get());
     }},
    {"create", [](S& s) { return s.message->create("packet"); }, kLosesContent},
    {"create by id", [](S& s) { return s.message->create(int{Tag_data}); }, kLosesContent},
    {"fromText", [](S& s) { return s.message->fromText(writable(kXml), nullptr); }, kLosesContent},
    {"fromText at", [](S& s) { return s.message->fromText(writable(kXml), s.at.get()); },
     kLosesContent},
    {"fromText of an element",
     [](S& s) {
         char* text = writable(kXml);
         BinaryPath path = pathToVem(s);
         return s.message->fromText(text, path, false);
     }},
    {"fromText that skips",
     [](S& s) {
         char* text = writable(kXml);
         BinaryPath path;
         return s.message->fromText(text, path, true);
     }},
    // -2 while the file is read, -1 while its text is.
    {"fromTextFile", [](S& s) { return s.message->fromTextFile(kFile); },
     kLosesContent | kAnyFailure},
    {"newMessage of a factory",
     [](S& s) {
         return s.take(
             TQAMessage::Factory->newMessage(writable(typedContent()), sizeOf(typedContent())));
     }},
    {"newMessage of a factory from text",
     [](S& s) {
         return s.take(TQAMessage::Factory->newMessage(writable(kXml), sizeOf(kXml) + 1));
     }},
};

const Scenario<S> kKnownTexts[] = {
    {"fromText", [](S& s) { return s.message->fromText(writable(kKnownXml), nullptr); },
     kLosesContent},
    {"fromText at", [](S& s) { return s.message->fromText(writable(kKnownXml), s.at.get()); },
     kLosesContent},
};

const Scenario<S> kExporting[] = {
    {"decode",
     [](S& s) {
         char* bytes = nullptr;
         return s.takeBytes(s.message->decode(&bytes, &s.length, nullptr), &bytes);
     }},
    {"decode from",
     [](S& s) {
         char* bytes = nullptr;
         return s.takeBytes(s.message->decode(&bytes, &s.length, s.at.get()), &bytes);
     }},
    {"toText", [](S& s) { return s.take(s.message->toText(nullptr, false, kNothing)); }},
    {"toText with namespaces",
     [](S& s) { return s.take(s.message->toText(nullptr, true, kBase)); }},
    {"toText from", [](S& s) { return s.take(s.message->toText(s.at.get(), false, kNothing)); }},
    {"toText from, with namespaces",
     [](S& s) { return s.take(s.message->toText(s.at.get(), true, kBase)); }},
    {"toText of an element",
     [](S& s) {
         int offset = kRootOffset;
         return s.message->toText(s.text, offset, 0, 0, true, kNothing, kBase) < 0 ? -1 : 0;
     }},
    {"toTextFile", [](S& s) { return s.message->toTextFile("/dev/null"); }},
    {"escape", [](S& s) { return s.text2 = TQABinary::escape(kHuge.c_str()), 0; }, kMayThrow},
};

// With something in the access list that is not in the message yet.
// What was saved stays saved when there is no memory for the rest.
const Scenario<S> kUnsaved[] = {
    {"saveChanges", [](S& s) { return s.message->saveChanges(); }},
    {"save", [](S& s) { return s.message->auth.save(); }},
    {"decode and save",
     [](S& s) {
         char* bytes = nullptr;
         return s.takeBytes(s.message->decode(&bytes, &s.length, s.at.get()), &bytes);
     },
     kInPart},
    {"toText and save", [](S& s) { return s.take(s.message->toText(nullptr, false, kNothing)); },
     kInPart},
    {"genReply, the long way",
     [](S& s) { return s.take(s.message->genReply(std::move(s.argument))); }, kMayLack},
    {"copy", [](S& s) { return s.take(s.message->copy(false)); }},
};

const Scenario<S> kWhole[] = {
    {"newMessage", [](S& s) { return s.take(s.message->newMessage()); }, kMayLack},
    {"createNew", [](S& s) { return s.take(TQAMsgFactory::createNew()); }, kMayLack},
    {"copy", [](S& s) { return s.take(s.message->copy(false)); }},
    {"hardcopy", [](S& s) { return s.message->hardcopy(); }},
    {"genReply", [](S& s) { return s.take(s.message->genReply(std::move(s.argument))); }, kMayLack},
    {"kindOf",
     [](S& s) {
         return (s.text2 = TQAMsgFactory::kindOf(typedContent().data())).empty() ? -1 : 0;
     }},
    {"setDefaultProtocol by type",
     [](S&) { return TQAMsgFactory::setDefaultProtocol(typeid(TQABinary)); }},
    {"messageType", [](S& s) { return (s.text2 = s.message->messageType()).empty() ? -1 : 0; }},
    {"getVersion", [](S& s) { return s.message->getVersion(&s.number); }},
    {"setVersion", [](S& s) { return s.message->setVersion(1234567); }},
    {"getTime", [](S& s) { return s.message->getTime(&s.seconds); }},
    {"setTime", [](S& s) { return s.message->setTime(5); }},
    {"getProgress", [](S& s) { return s.message->getProgress(&s.number); }},
    {"setProgress", [](S& s) { return s.message->setProgress(0); }},
    {"getLog", [](S& s) { return s.message->getLog(&s.number); }},
    {"setLog", [](S& s) { return s.message->setLog(1); }},
    {"getType", [](S& s) { return s.message->getType(&s.number); }},
    {"setType", [](S& s) { return s.message->setType(5); }},
    {"getID", [](S& s) { return s.message->getID(&s.text); }},
    {"setID", [](S& s) { return s.message->setID(kHuge); }},
    {"getPriority", [](S& s) { return s.message->getPriority(&s.number); }},
    {"setPriority", [](S& s) { return s.message->setPriority(6); }},
    {"getUid", [](S& s) { return s.message->getUid(&s.number); }},
    {"setUid", [](S& s) { return s.message->setUid(6); }},
    {"getTimeout", [](S& s) { return s.message->getTimeout(&s.number); }},
    {"setTimeout", [](S& s) { return s.message->setTimeout(6); }},
    {"getTimeoutLimit", [](S& s) { return s.message->getTimeoutLimit(&s.number); }},
    {"setTimeoutLimit", [](S& s) { return s.message->setTimeoutLimit(6); }},
    {"getOrigin", [](S& s) { return (s.text2 = s.message->getOrigin()).empty() ? -1 : 0; },
     kInPart},
    {"setOrigin", [](S& s) { return s.message->setOrigin(kHuge); }},
    {"getTarget", [](S& s) { return (s.text2 = s.message->getTarget()).empty() ? -1 : 0; },
     kInPart},
    {"setTarget", [](S& s) { return s.message->setTarget(kShort); }},
    {"getSession", [](S& s) { return s.message->getSession(&s.text); }},
    {"setSession", [](S& s) { return s.message->setSession(kHuge); }},
    {"insertID", [](S& s) { return insert(s, kHuge); }},
    {"insertID of a little", [](S& s) { return insert(s, kShort); }},
    {"insertValue", [](S& s) { return replace(s, kHuge); }},
    {"insertValue of a little", [](S& s) { return replace(s, kShort); }},
    {"deleteID", [](S& s) { return remove(s); }},
};

// The checks refuse without memory; then they answer.
const Scenario<S> kAccess[] = {
    {"checkAccess", [](S& s) { return s.message->auth.checkAccess(3) ? 0 : -1; }},
    {"checkAccess of a range", [](S& s) { return s.message->auth.checkAccess(12, 14) ? 0 : -1; }},
    {"checkAccess of a list", [](S& s) { return s.message->auth.checkAccess(s.ids) ? 0 : -1; }},
    {"checkAccess that refuses", [](S& s) { return s.message->auth.checkAccess(4) ? -1 : 0; }},
    {"checkReadAccess that refuses",
     [](S& s) { return s.message->auth.checkReadAccess(s.ids) ? -1 : 0; }},
    {"extract", [](S& s) { return s.message->auth.extract(); }, 0, -2},
    {"getAccessList", [](S& s) { return s.message->auth.getAccessList().contain(101) ? 0 : -1; }},
};

const Scenario<S> kRaw[] = {
    {"parseUnknown", [](S& s) { return s.at->parseUnknown(); }},
    {"firstChild", [](S& s) { return s.at->firstChild(); }},
};

template <std::size_t size, class Prepare>
void sweepEverywhere(const char* what, const Scenario<S> (&scenarios)[size], Prepare prepare) {
    for (const Condition condition : kConditions) {
        for (const auto content : {typedContent, textContent}) {
            SCOPED_TRACE("condition " + std::to_string(static_cast<int>(condition)));
            SCOPED_TRACE(content == typedContent ? "typed" : "texts");
            sweepAll(what, scenarios, [&] {
                auto stage = std::make_unique<S>(content(), condition, "data/vem");
                prepare(*stage);
                return stage;
            });
        }
    }
}

constexpr auto kAsItIs = [](S&) {};

TEST(NoMemory, MessagesAreLoadedWholeOrRefused) {
    sweepEverywhere("message, loading", kLoading, kAsItIs);
}

TEST(NoMemory, AFileThatCannotBeReadForWantOfMemoryIsMinusTwo) {
    MessageStage stage(typedContent(), Condition::Private);
    const std::string before = stage.state();
    for (long from = 0; from < 2; ++from) {
        const Injection injection(from, Refusing::Once);
        EXPECT_EQ(stage.message->fromTextFile(kFile), -2) << from;
    }
    EXPECT_EQ(stage.state(), before);
    unlink(kFile.c_str());
}

TEST(NoMemory, TextsAreReadUnderEveryPolicy) {
    for (const std::uint32_t policy : {1U, 2U, 3U}) {
        const Policies policies(policy, 0);
        sweepEverywhere("message, texts by policy", kKnownTexts, kAsItIs);
    }
}

TEST(NoMemory, MessagesAreExportedWholeOrNotAtAll) {
    sweepEverywhere("message, exports", kExporting, kAsItIs);
}

TEST(NoMemory, AnAccessListThatCannotBeSavedStaysUnsaved) {
    sweepEverywhere("message, unsaved access list", kUnsaved, [](S& s) {
        s.message->auth.getAccessList();
        s.message->auth.addVE(77);
        s.isPositionNoted = false;
    });
}

// Half a list would be read in place of the whole one that is saved later.
TEST(NoMemory, AnAccessListIsNotSavedInPart) {
    for (int room = 0; room <= 200; room += 8) {
        sweepAll("message, first access list", kUnsaved, [room] {
            auto stage = std::make_unique<S>(filled(bytes(parse("<packet><data/></packet>")), room),
                                             Condition::Private, "data");
            stage->message->auth.addVE(77);
            stage->message->auth.addVEList(stage->ids);
            stage->isPositionNoted = false;
            return stage;
        });
    }
}

TEST(NoMemory, MessagesAreChangedOrAsTheyWere) {
    sweepEverywhere("message, fields and copies", kWhole, kAsItIs);
}

TEST(NoMemory, AccessIsRefused) {
    sweepEverywhere("message, access", kAccess, kAsItIs);
}

TEST(NoMemory, RawChildrenStayRaw) {
    const Policies policies(0, TQABinaryIterator::kExpandRaw | TQABinaryIterator::kRawMustParse);
    for (const Condition condition : kConditions) {
        sweepAll("message, raw children", kRaw, [&] {
            auto stage = std::make_unique<S>(typedContent(), condition, "data");
            // The way to it must not expand what is in it.
            stage->at->seek(Tag_vem);
            return stage;
        });
    }
}

TEST(NoMemory, RawChildrenThatGetLargerStayRaw) {
    const Policies policies(0, TQABinaryIterator::kExpandRaw | TQABinaryIterator::kRawMustParse);
    const std::string raw =
        element(0, Kind::Unparsed, std::string("<ve><ve/><ve/><ve/></ve>") + '\0');
    const std::string content = message(container(tqa::Tag_packet, container(tqa::Tag_data, raw)));
    for (const Condition condition : kConditions) {
        sweepAll("message, raw children that grow", kRaw,
                 [&] { return std::make_unique<S>(content, condition, "data"); });
    }
}

}  // namespace

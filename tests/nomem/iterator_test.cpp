// Iterators without memory: positions, values, elements, subtrees, VE lists.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/nomem/message_stage.h"
#include "tests/nomem/sweep.h"

namespace {

using namespace tqa_test;
using namespace tqa;
using S = MessageStage;

// Words longer than what strings hold in themselves, made when there is memory.
const std::string kPath = "/data/vem/configuration";
const std::string kVemName = "/data/vem/name";
const std::string kData = "data";
const std::string kVeid = "veid";
const std::string kName = "name";
const std::string kSize = "size";
const std::string kAvg = "avg";
const std::string kBody = "body";
const std::string kTime = "time";
const std::string kNew = "comment";
const std::string kLongWord = "tqmigrate_v2v_deserializer";
const std::string kNewPath = "list/comment";
const std::string kNothing;

// What can be read from values of any kind and from their texts.
const Scenario<S> kReaders[] = {
    {"getValue text", [](S& s) { return s.at->getValue(&s.text, kName); }},
    {"getValue text by id", [](S& s) { return s.at->getValue(&s.text, Tag_name); }},
    {"getValue text along a path", [](S& s) { return s.at->getValue(&s.text, kVemName); }},
    {"getValue text of a number", [](S& s) { return s.at->getValue(&s.text, kSize); }},
    {"getValue text of a double", [](S& s) { return s.at->getValue(&s.text, Tag_avg); }},
    {"getValue int", [](S& s) { return s.at->getValue(&s.number, kVeid); }},
    {"getValue int by id", [](S& s) { return s.at->getValue(&s.number, Tag_veid); }},
    {"getValue bool", [](S& s) { return s.at->getValue(&s.flag, kName); }},
    {"getValue bool by id", [](S& s) { return s.at->getValue(&s.flag, Tag_name); }},
    {"getValueLongLong", [](S& s) { return s.at->getValueLongLong(&s.big, kSize); }},
    {"getValueLongLong by id", [](S& s) { return s.at->getValueLongLong(&s.big, Tag_size); }},
    {"getValueDouble", [](S& s) { return s.at->getValueDouble(&s.real, kAvg); }},
    {"getValueDouble by id", [](S& s) { return s.at->getValueDouble(&s.real, Tag_avg); }},
    {"getValueTime", [](S& s) { return s.at->getValueTime(&s.seconds, kTime); }},
    {"getValueTime by id", [](S& s) { return s.at->getValueTime(&s.seconds, Tag_time); }},
    {"getValueBase64", [](S& s) { return s.at->getValueBase64(&s.text, kBody); }},
    {"getValueBase64 by id", [](S& s) { return s.at->getValueBase64(&s.text, Tag_body); }},
    {"getAttr text", [](S& s) { return s.at->getAttr(&s.text, Tag_name); }},
    {"getAttr int", [](S& s) { return s.at->getAttr(&s.number, Tag_veid); }},
    {"getOrigin", [](S& s) { return s.at->getOrigin(&s.text); }},
    {"getVE", [](S& s) { return s.at->getVE(&s.number, "veid"); }, kInPart, -2},
};

const Scenario<S> kNavigation[] = {
    {"seek", [](S& s) { return s.at->seek(kVeid); }},
    {"seek by id", [](S& s) { return s.at->seek(Tag_veid); }},
    {"seek along a path", [](S& s) { return s.at->seek(kVemName); }},
    {"seekRoot", [](S& s) { return s.at->seekRoot(); }},
    {"seekUp", [](S& s) { return s.at->seekUp(); }},
    {"firstChild", [](S& s) { return s.at->firstChild(); }},
    {"firstChild by name", [](S& s) { return s.at->firstChild(kName); }},
    {"firstChild by id", [](S& s) { return s.at->firstChild(Tag_name); }},
    {"nextSibling", [](S& s) { return s.at->firstChild() + s.at->nextSibling(); }},
    {"nextSibling by name", [](S& s) { return s.at->firstChild() + s.at->nextSibling(kName); }},
    {"nextSibling by id", [](S& s) { return s.at->firstChild() + s.at->nextSibling(Tag_name); }},
    {"seekPresence", [](S& s) { return s.at->seekPresence(kVemName); }},
    {"seekPresence by id", [](S& s) { return s.at->seekPresence(Tag_name); }},
    {"curName", [](S& s) { return (s.text2 = s.at->curName()).empty() ? -1 : 0; }},
    {"curID", [](S& s) { return (s.number = s.at->curID()) == 0 ? -1 : 0; }},
    {"newIterator", [](S& s) { return S::take(s.at->newIterator()); }},
    {"newIterator of the message", [](S& s) { return S::take(s.message->newIterator()); }},
};

const Scenario<S> kExports[] = {
    {"decode",
     [](S& s) {
         char* bytes = nullptr;
         return s.takeBytes(s.at->decode(&bytes, &s.length), &bytes);
     }},
    {"decodeFromChild",
     [](S& s) {
         char* bytes = nullptr;
         return s.takeBytes(s.at->decodeFromChild(&bytes, &s.length), &bytes);
     }},
    {"toText", [](S& s) { return s.take(s.at->toText()); }},
    {"toTextFromChild", [](S& s) { return s.take(s.at->toTextFromChild()); }},
    {"genReply", [](S& s) { return s.take(s.at->genReply(std::move(s.argument))); }, kMayLack},
};

const Scenario<S> kWriters[] = {
    {"putValue text over one", [](S& s) { return s.at->putValue(kLong, kName); }},
    {"putValue another text over one", [](S& s) { return s.at->putValue(kShort, kName); }},
    {"putValue long text over one", [](S& s) { return s.at->putValue(kHuge, kName); }},
    {"putValue new text", [](S& s) { return s.at->putValue(kLong, kNew); }},
    {"putValue new long text", [](S& s) { return s.at->putValue(kHuge, kNew); }},
    {"putValue along a path", [](S& s) { return s.at->putValue(kHuge, kVemName); }, kMoves},
    {"putValue by id", [](S& s) { return s.at->putValue(kLong, Tag_name); }},
    {"putValue new by id", [](S& s) { return s.at->putValue(kHuge, Tag_comment); }},
    {"putValue bytes by id", [](S& s) { return s.at->putValue(kHuge.data(), 9000, Tag_comment); }},
    {"putValue int", [](S& s) { return s.at->putValue(5, kVeid); }},
    {"putValue int over a text", [](S& s) { return s.at->putValue(5, kName); }},
    {"putValue new int", [](S& s) { return s.at->putValue(5, kNew); }},
    {"putValue int by id", [](S& s) { return s.at->putValue(5, Tag_veid); }},
    {"putValueLongLong", [](S& s) { return s.at->putValueLongLong(5, kNew); }},
    {"putValueLongLong by id", [](S& s) { return s.at->putValueLongLong(5, Tag_comment); }},
    {"putValueDouble", [](S& s) { return s.at->putValueDouble(0.5, kNew); }},
    {"putValueDouble by id", [](S& s) { return s.at->putValueDouble(0.5, Tag_comment); }},
    {"putValueTime", [](S& s) { return s.at->putValueTime(5, kNew); }},
    {"putValueTime by id", [](S& s) { return s.at->putValueTime(5, Tag_comment); }},
    {"putValueBase64", [](S& s) { return s.at->putValueBase64(kHuge, kNew); }},
    {"putValueBase64 by id", [](S& s) { return s.at->putValueBase64(kHuge, Tag_comment); }},
    {"putValueBase64 bytes by id",
     [](S& s) { return s.at->putValueBase64(kHuge.data(), 9000, Tag_comment); }},
    {"putValueXML", [](S& s) { return s.at->putValueXML(kHuge, Tag_comment); }},
    {"putAttr text", [](S& s) { return s.at->putAttr(kLong, Attr_id); }},
    {"putAttr int", [](S& s) { return s.at->putAttr(5, Attr_uid); }},
    {"putAttrTime", [](S& s) { return s.at->putAttrTime(5, Attr_time); }},
    {"newChild", [](S& s) { return s.at->newChild(kNew, kShort); }},
    {"newChild by id", [](S& s) { return s.at->newChild(Tag_comment, 0); }},
    {"newChild with a long name", [](S& s) { return s.at->newChild(kLongWord, kNothing); }},
    {"putChild", [](S& s) { return s.at->putChild(kNew, kNothing); }},
    {"putChild by id", [](S& s) { return s.at->putChild(Tag_comment, 0); }},
    {"deleteFromChild", [](S& s) { return s.at->deleteFromChild(); }},
    {"validateInternals", [](S& s) { return s.at->validateInternals(); }},
    {"encodeToChild",
     [](S& s) {
         const auto& content = typedContent();
         return s.at->encodeToChild(const_cast<char*>(content.data()),
                                    static_cast<int>(content.size()));
     }},
    {"fromTextToChild",
     [](S& s) {
         return s.at->fromTextToChild(
             const_cast<char*>("<vem><veid>7</veid><foreign>x</foreign></vem>"));
     },
     kLosesContent},
    {"putVE", [](S& s) { return s.at->putVE(4, "veid", false); }},
    {"putVE that adds", [](S& s) { return s.at->putVE(4, "veid", true); }, kInPart},
    {"putVEList", [](S& s) { return s.at->putVEList(s.ids, false); }},
    {"getVEList", [](S& s) { return s.at->getVEList(s.ids, false); }, kMoves | kInPart},
    {"getVEList that checks", [](S& s) { return s.at->getVEList(s.ids, true); },
     kMoves | kInPart | kAnyFailure},
};

template <std::size_t size>
void sweepEverywhere(const char* what, const Scenario<S> (&scenarios)[size]) {
    for (const Condition condition : kConditions) {
        for (const auto content : {typedContent, textContent}) {
            SCOPED_TRACE("condition " + std::to_string(static_cast<int>(condition)));
            SCOPED_TRACE(content == typedContent ? "typed" : "texts");
            sweepAll(what, scenarios,
                     [&] { return std::make_unique<S>(content(), condition, "data/vem"); });
        }
    }
}

TEST(NoMemory, IteratorsReadOrLeaveTheResultAlone) {
    sweepEverywhere("iterator, readers", kReaders);
}

TEST(NoMemory, IteratorsMoveOrStay) {
    sweepEverywhere("iterator, moves", kNavigation);
}

TEST(NoMemory, IteratorsExportWholePartsOrNothing) {
    sweepEverywhere("iterator, exports", kExports);
}

TEST(NoMemory, IteratorsWriteOrLeaveTheMessageAsItWas) {
    sweepEverywhere("iterator, writers", kWriters);
}

}  // namespace

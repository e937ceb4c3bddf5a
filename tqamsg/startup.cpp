// Everything that is built when the library is loaded and that crosses files, in the order in which
// it is built: within one file the language keeps the order of the definitions, whatever the link
// order. No other global's constructor reads another file's objects.
//
// All of it is built before what has no priority, and destroyed behind it: a program that is linked
// with the static library may use it in constructors and destructors of its own globals.

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/factory.h"
#include "tqamsg/binary/quick_reply.h"
#include "tqamsg/host/log_path.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/msg/quick_reply.h"
#include "tqamsg/soap/namespaces.h"
#include "tqamsg/util/log.h"
#include "tqamsg/vocabulary/vocabulary.h"

#define TQA_FIRST __attribute__((init_priority(200)))

// --- constants, there before anything runs ------------------------------------------------------

std::uint32_t TQABinary::Policy = 0;
std::uint32_t TQABinaryIterator::Policy = 0;
const char* TQABinary::MessageType = "TQABinary";
TQAMsgFactory* TQAMessage::Factory = nullptr;
std::map<std::string, TQAMsgFactory*>* MsgVocabulary = nullptr;
constinit const tqa::QuickReply tqa::quickReply = tqa::replyToBinary;

namespace {

// Ends the registry's map, which the first factory allocates, after everything below is gone.
struct RegistryOwner {
    ~RegistryOwner() {
        delete MsgVocabulary;
        MsgVocabulary = nullptr;
    }
};
TQA_FIRST const RegistryOwner registryOwner;

}  // namespace

// --- the vocabulary's dictionaries and the binary kind ------------------------------------------

#include "tqamsg/vocabulary/dictionaries.inc"

TQA_FIRST TQAMessageFactory<TQABinary> factoryTQABinary;

// --- the logger ---------------------------------------------------------------------------------

TQA_FIRST std::string debug_name;
TQA_FIRST Logger Log(getAgentLogPath(""));
TQA_FIRST TQALock commonOutLock;

// --- the message module -------------------------------------------------------------------------

Stupid::Stupid() = default;
Stupid::~Stupid() = default;

bool TQAMessage::initialize() {
    return TQAMsgFactory::setDefaultProtocol(typeid(TQABinary)) == 0;
}

bool initTQAMessage() {
    return TQAMessage::initialize();
}

namespace {

struct MessageModule {
    Stupid stupid;
    bool isReady = initTQAMessage();
};
TQA_FIRST const MessageModule messageModule;

}  // namespace

// --- the SOAP gateway ---------------------------------------------------------------------------

TQA_FIRST const HashMap<std::string, SoapVersion>::MapElem Map_SoapVersionMap_Array[2] = {
    {tqa::kSoapVersionUris[0].uri, tqa::kSoapVersionUris[0].version},
    {tqa::kSoapVersionUris[1].uri, tqa::kSoapVersionUris[1].version}};
TQA_FIRST HashMap<std::string, SoapVersion> SoapVersionMap(Map_SoapVersionMap_Array, 2);

// What the verbs of the tool share: exit codes, input, output and the conversions of messages.
#pragma once

#include "tqamsg/tqamsg.h"

#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

namespace tool {

enum Exit : int {
    kOk = 0,
    kUsage = 2,
    kMalformed = 3,
    kInputOutput = 4,
};

// Ends the verb: main() prints the text on standard error and exits with the code.
class Failure : public std::runtime_error {
  public:
    Failure(Exit code, const std::string& what) : std::runtime_error(what), code_(code) {}
    Exit code() const { return code_; }

  private:
    Exit code_;
};

struct DestroyMessage {
    void operator()(TQAMessage* message) const { message->destroy(); }
};
using Message = std::unique_ptr<TQAMessage, DestroyMessage>;
using Iterator = std::unique_ptr<TQAMessageIterator>;

// What the library hands out from malloc.
struct FreeBytes {
    void operator()(char* bytes) const { std::free(bytes); }
};
using Bytes = std::unique_ptr<char, FreeBytes>;

enum class Form { Xml, Binary };

// How messages call a file.
std::string nameOf(const std::string& file);

// The content of a file, or of standard input for "-".
std::string readInput(const std::string& file);
void writeOutput(const std::string& bytes);

// Calls `use` with each message of the input and the form it came in. Several messages in a row
// are a stream: binary ones end by their length, texts by a zero byte or with the input.
using UseMessage = std::function<void(Message message, Form form)>;
void forEachMessage(const std::string& file, const UseMessage& use);

Form formOf(const std::string& bytes);
std::string inForm(TQAMessage& message, Form form);

// Each verb adds itself to the command line.
void addShow(CLI::App& app);
void addConvert(CLI::App& app);
void addReply(CLI::App& app);
void addSet(CLI::App& app);
void addSoapRequest(CLI::App& app);
void addSoapResponse(CLI::App& app);

}  // namespace tool

// Runs the tool as its users do.
#pragma once

#include <string>
#include <vector>

namespace tqa_test {

struct Result {
    int status;
    std::string output;  // standard output, with standard error behind it where asked for
};

// Runs a bash script in which "tqamsg" is the tool; a pipe fails with its last failing part.
// One that hangs ends after a minute with status 124.
Result run(const std::string& script);

// The same with standard error in the output.
Result runWithErrors(const std::string& script);

std::string bytesIn(const std::string& file);

// A folder that is removed with all in it.
class Folder {
  public:
    Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    std::string path(const std::string& name) const { return path_ + "/" + name; }
    // Writes a file and gives its path.
    std::string write(const std::string& name, const std::string& content) const;

  private:
    std::string path_;
};

// Commands that fail: each with its exit status and all that it prints.
struct FailingCommand {
    const char* script;
    int status;
    const char* output;
};
void expectFailures(const std::vector<FailingCommand>& rows);

extern const std::string kRequest;    // examples/data/request.xml
extern const std::string kReply;      // examples/data/ve_status_reply.xml
extern const std::string kMessages;   // folder of golden messages
extern const std::string kToolData;   // folder of golden outputs
extern const std::string kGenerated;  // folder of manual pages and completions

}  // namespace tqa_test

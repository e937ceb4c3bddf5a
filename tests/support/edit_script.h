// Random edits through iterators, done to a message and to a plain tree alike: both must print and
// travel alike, whatever was done, and so must every copy that was made on the way.
//
//     EditScript script(random, 20);
//     for (int i = 0; i < 60; ++i) script.step();
//     script.finish();
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace tqa_test {

class EditScript {
  public:
    // `chance` gives any number; texts are shorter than `maxTextLength`.
    EditScript(std::function<std::uint32_t()> chance, int maxTextLength);
    EditScript(const EditScript&) = delete;
    EditScript& operator=(const EditScript&) = delete;
    ~EditScript();

    // One random operation; what it did is compared every few steps.
    void step();
    // Compares everything.
    void finish();

  private:
    class Script;
    std::unique_ptr<Script> script_;
};

}  // namespace tqa_test

// Lets an allocation fail. The test program's operator new is replaced by one that counts.
//
//     const tqa_test::FailingNew failing(3);  // the fourth allocation from here on fails, once
//     convert();
//     if (!failing.hasFailed()) ...           // there were no more than three
//
// valgrind puts an operator new of its own in the place of this one, unless it is run with
// --soname-synonyms=somalloc=nouserintercepts, as `./dev matrix valgrind` does. For runs by hand a
// test that relies on it starts with
//
//     if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
#pragma once

namespace tqa_test {

class FailingNew {
  public:
    explicit FailingNew(int allocationsBefore);
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;
    ~FailingNew();

    bool hasFailed() const;

    static bool works();
};

}  // namespace tqa_test

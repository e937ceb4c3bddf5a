// Paths of words, beside a walk of the same rules on the printed tree.

#include "tqamsg/vocabulary/lookup.h"

#include "fuzz/target.h"
#include "tests/support/messages.h"

#include <gtest/gtest.h>

using namespace tqa_test;

// Where a path leads from "packet/data"; empty when it leads nowhere.
static tqa::ElementView target(tqa::ElementView root, tqa::ElementView from,
                               std::string_view path) {
    if (path.starts_with('/')) {
        from = root;
        path.remove_prefix(1);
    }
    while (!path.empty() && !path.starts_with('/') && from) {
        const std::string_view word = path.substr(0, path.find('/'));
        const int id = tqa::tagId(word);
        from = id == 0 ? tqa::ElementView() : from.childWithId(id);
        path.remove_prefix(std::min(word.size() + 1, path.size()));
    }
    return from;
}

TQA_TARGET(seek) {
    static const Message m = parse(
        "<packet id=\"1\"><data><vem><veid>1</veid><list/><veid>2</veid></vem><list><vem/></list>"
        "</data><origin>x</origin><data><cookie/></data></packet>");
    static const std::string encoded = bytes(m);
    const auto root =
        tqa::ElementView::find(encoded.data() + tqa::kRootOffset, encoded.data() + encoded.size());
    const auto data = root.firstChild().next(root.end());
    const tqa::ElementView wanted = target(root, data, input);

    const Cursor it = cursorAt(m, "data");
    EXPECT_EQ(it->seek(std::string(input)), wanted ? 0 : -1);
    const tqa::ElementView reached = wanted ? wanted : data;
    EXPECT_EQ(bytes(it).substr(tqa::kRootOffset),
              std::string_view(reached.begin(), static_cast<std::size_t>(reached.size())));
}

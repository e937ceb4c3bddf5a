// What the program of the linear checks does with inputs of a given size.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace linear {

// The part that is counted; false when the library did not do what it should. What it makes lives
// as long as the function, so that its end is not counted.
using Work = std::function<bool()>;

struct Operation {
    std::string_view name;
    std::vector<std::string_view> shapes;
    // Makes ready what the operation needs: an input of this shape with `n` of what it has many of.
    Work (*prepare)(std::string_view shape, std::size_t n);
};

// In the order of the library's folders, from the text inwards.
const std::vector<Operation>& operations();

}  // namespace linear

// A control array: the form defines element 0, the model; the others are loaded from it at run time and unloaded again.
// Access to an element that isn't loaded throws error 340.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "base/runtime_error.h"

namespace tsly {

template <typename Element>
class ControlArray {
 public:
  using Make = std::function<std::unique_ptr<Element>(int index)>;

  // `make` builds the element of an index from the model's design.
  explicit ControlArray(Make make) : make_(std::move(make)) { elements_[0] = make_(0); }
  ~ControlArray() { UnloadAllButModel(); }
  ControlArray(const ControlArray&) = delete;
  ControlArray& operator=(const ControlArray&) = delete;

  Element& operator()(std::int32_t index) const {
    const auto found = elements_.find(index);
    if (found == elements_.end()) {
      throw RuntimeError{kErrorNoControlElement, "ControlArray", "Control array element doesn't exist"};
    }
    return *found->second;
  }

  // Indexes are signed 16-bit integers.
  Element& Load(std::int32_t index) {
    if (index > 32767) throw RuntimeError{kErrorOverflow, "ControlArray", "Overflow"};
    auto& element = elements_[index];
    if (!element) element = make_(index);
    return *element;
  }

  // In reverse order, which is cheapest for the form.
  void UnloadAllButModel() {
    while (elements_.size() > 1) elements_.erase(std::prev(elements_.end()));
  }

  std::size_t Count() const { return elements_.size(); }  // including the model

 private:
  Make make_;
  std::map<std::int32_t, std::unique_ptr<Element>> elements_;
};

}  // namespace tsly

// One search while it runs. A search by hand that starts inside the wait of a silent one overtakes it: the silent one
// ends quietly then. They end in the reverse order of their starts.
#pragma once

namespace tsly {

class SearchRun {
 public:
  // `latest`: the run that the new one starts in, null for none; the new one takes its place until it ends.
  explicit SearchRun(SearchRun*& latest) : latest_(latest), outer_(latest) {
    if (outer_ != nullptr) outer_->overtaken_ = true;
    latest_ = this;
  }
  ~SearchRun() { latest_ = outer_; }
  SearchRun(const SearchRun&) = delete;
  SearchRun& operator=(const SearchRun&) = delete;

  bool IsOvertaken() const { return overtaken_; }

 private:
  SearchRun*& latest_;
  SearchRun* const outer_;
  bool overtaken_ = false;
};

}  // namespace tsly

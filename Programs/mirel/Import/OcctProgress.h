#pragma once

#include <Programs/mirel/ProgressBar.h>

#include <Message_ProgressIndicator.hxx>

namespace mirel {

/// Hands the progress that OpenCASCADE reports to a progress bar.
class OcctProgress : public Message_ProgressIndicator {
 public:
  explicit OcctProgress(ProgressBar& bar) : bar_(bar) {}

 protected:
  void Show(const Message_ProgressScope&, const Standard_Boolean) override {
    bar_.SetFraction(GetPosition());
  }

 private:
  ProgressBar& bar_;
};

}  // namespace mirel

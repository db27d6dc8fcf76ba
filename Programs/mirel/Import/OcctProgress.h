#pragma once

#include <Programs/mirel/StageProgress.h>

#include <Message_ProgressIndicator.hxx>

namespace mirel {

/// Hands the progress that OpenCASCADE reports to whoever shows it.
class OcctProgress : public Message_ProgressIndicator {
 public:
  explicit OcctProgress(StageProgress& shown) : shown_(shown) {}

 protected:
  void Show(const Message_ProgressScope&, const Standard_Boolean) override {
    shown_.SetFraction(GetPosition());
  }

 private:
  StageProgress& shown_;
};

}  // namespace mirel

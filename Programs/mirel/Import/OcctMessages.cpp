#include <Programs/mirel/Import/OcctMessages.h>

#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_Printer.hxx>
#include <TCollection_AsciiString.hxx>

#include <iostream>
#include <mutex>

namespace mirel {

class OcctMessages::Collector : public Message_Printer {
 public:
  std::vector<std::string> GetFailures() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return failures_;
  }

 protected:
  void send(const TCollection_AsciiString& text, const Message_Gravity gravity) const override {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (gravity >= Message_Alarm && failures_.size() < 100) {
      failures_.emplace_back(text.ToCString());
    }
  }

 private:
  mutable std::mutex mutex_;
  mutable std::vector<std::string> failures_;
};

namespace {

// A buffer that takes everything and keeps nothing.
class NullBuffer : public std::streambuf {
 protected:
  int overflow(int c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

NullBuffer& Nowhere() {
  static NullBuffer buffer;
  return buffer;
}

}  // namespace

OcctMessages::OcctMessages()
    : printers_(Message::DefaultMessenger()->Printers()),
      collector_(new Collector),
      cout_(std::cout.rdbuf(&Nowhere())) {
  Message::DefaultMessenger()->ChangePrinters().Clear();
  Message::DefaultMessenger()->AddPrinter(collector_);
}

OcctMessages::~OcctMessages() {
  Message::DefaultMessenger()->ChangePrinters() = printers_;
  std::cout.rdbuf(cout_);
}

std::vector<std::string> OcctMessages::GetFailures() const {
  return static_cast<const Collector*>(collector_.get())->GetFailures();
}

}  // namespace mirel

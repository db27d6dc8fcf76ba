#pragma once

#include <Message_SequenceOfPrinters.hxx>

#include <streambuf>
#include <string>
#include <vector>

namespace mirel {

/// Keeps OpenCASCADE quiet while it lives: its printers are taken away, and what it writes to std::cout goes
/// nowhere, so that data on stdout stays clean. Warnings and failures that it sends are collected instead.
///
/// Process-wide; one at a time. The program itself writes with C stdio and is not affected.
class OcctMessages {
 public:
  OcctMessages();
  /// Puts everything back.
  ~OcctMessages();

  OcctMessages(const OcctMessages&) = delete;
  OcctMessages& operator=(const OcctMessages&) = delete;

  /// The messages so far, failures only, the first hundred.
  std::vector<std::string> GetFailures() const;

 private:
  class Collector;

  Message_SequenceOfPrinters printers_;
  Handle(Message_Printer) collector_;
  std::streambuf* cout_;
};

}  // namespace mirel

#include <Programs/mirel/ProgressBar.h>

#include <algorithm>
#include <cstdio>

namespace mirel {

namespace {

constexpr int kBarColumns = 30;
constexpr auto kRedraw = std::chrono::milliseconds(100);

}  // namespace

ProgressBar::ProgressBar(Form form, Redraw redraw) : form_(form), begun_(std::chrono::steady_clock::now()) {
  if (form_ != Form::kNone && redraw == Redraw::kByThread) {
    thread_ = std::thread([this] { Run(); });
  }
}

ProgressBar::~ProgressBar() {
  End();
}

void ProgressBar::Begin(const std::string& stage) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (stage != stage_) {
    stage_ = stage;
    fraction_ = -1.0;
  }
}

void ProgressBar::SetFraction(double fraction) {
  const std::lock_guard<std::mutex> lock(mutex_);
  fraction_ = std::clamp(fraction, 0.0, 1.0);
}

void ProgressBar::DrawNow() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (form_ != Form::kNone) {
    form_ == Form::kBar ? Draw() : PrintLine();
  }
}

void ProgressBar::Clear() {
  const std::lock_guard<std::mutex> lock(mutex_);
  Erase();
}

void ProgressBar::End() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ending_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) {
    thread_.join();
  }
}

void ProgressBar::Run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!wake_.wait_for(lock, kRedraw, [this] { return ending_; })) {
    form_ == Form::kBar ? Draw() : PrintLine();
  }
  Erase();
}

void ProgressBar::PrintLine() {
  std::string line = "progress: " + stage_;
  if (fraction_ >= 0.0) {
    line += " " + std::to_string(static_cast<int>(fraction_ * 100.0));
  }
  if (!stage_.empty() && line != line_) {
    line_ = line;
    std::fputs((line + "\n").c_str(), stderr);
    std::fflush(stderr);
  }
}

void ProgressBar::Draw() {
  if (stage_.empty()) {
    return;
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begun_).count();
  std::string bar(kBarColumns, ' ');
  if (fraction_ >= 0.0) {
    std::fill_n(bar.begin(), static_cast<int>(fraction_ * kBarColumns), '=');
  } else {
    // Nobody says how far: a mark that walks to and fro shows that work goes on.
    const int step = static_cast<int>(seconds * 10.0) % (2 * (kBarColumns - 3));
    std::fill_n(bar.begin() + std::min(step, 2 * (kBarColumns - 3) - step), 3, '=');
  }
  char line[120];
  const int columns =
      std::snprintf(line, sizeof line, "%-14.14s [%s] %6.1f s", stage_.c_str(), bar.c_str(), seconds);
  std::fprintf(stderr, "\r%s", line);
  std::fflush(stderr);
  drawn_ = columns > 0 ? static_cast<std::size_t>(columns) : 0;
}

void ProgressBar::Erase() {
  if (drawn_ > 0) {
    std::fprintf(stderr, "\r%*s\r", static_cast<int>(drawn_), "");
    std::fflush(stderr);
    drawn_ = 0;
  }
}

}  // namespace mirel

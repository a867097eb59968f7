#include "lots/lot_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "support/failure.h"

namespace blnits {
namespace {

/// What became of one file.
struct Outcome {
  std::string file;
  Unit unit;
  std::string rejection;  ///< Empty: the unit counts.
  std::exception_ptr failure;
};

/// What became of some files in a row: a thread waits seldom for another one.
using Batch = std::vector<Outcome>;
constexpr size_t kBatchFiles = 8;

/// Threads that read ahead of the caller. Few units wait at a time, so memory does not grow with their number.
class Workers {
 public:
  Workers(UnitFiles* files, const LotShape& shape, CapturedLog* log) : files_(files), shape_(shape), log_(log) {
    const size_t processors = std::max(1U, std::thread::hardware_concurrency());
    most_waiting_ = kWaitingEach * processors;
    for (size_t i = 0; i < processors; ++i) {
      Start();
    }
  }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;
  ~Workers() {
    {
      const std::lock_guard<std::mutex> guard(lock_);
      stops_ = true;
    }
    room_.notify_all();
    for (std::thread& thread : threads_) {
      thread.join();
    }
  }

  /// The outcomes of the next files; empty after the last one.
  Batch Next() {
    std::unique_lock<std::mutex> guard(lock_);
    next_.wait(guard, [this] { return done_.count(delivered_) > 0 || (ended_ && delivered_ == taken_); });
    const auto batch = done_.find(delivered_);
    if (batch == done_.end()) {
      return {};
    }
    Batch next = std::move(batch->second);
    done_.erase(batch);
    ++delivered_;
    guard.unlock();
    room_.notify_one();
    return next;
  }

 private:
  static constexpr size_t kWaitingEach = 3;

  // One thread is enough if the system allows no more.
  void Start() {
    try {
      threads_.emplace_back([this] { Work(); });
    } catch (const std::system_error&) {
      if (threads_.empty()) {
        throw;
      }
    }
  }

  void Work() {
    std::unique_lock<std::mutex> guard(lock_);
    for (;;) {
      room_.wait(guard, [this] { return stops_ || ended_ || taken_ - delivered_ < most_waiting_; });
      const std::vector<std::string> files = stops_ || ended_ ? std::vector<std::string>() : TakeFiles();
      if (files.empty()) {
        ended_ = true;
        next_.notify_one();
        room_.notify_all();
        return;
      }
      const uint64_t place = taken_++;
      guard.unlock();
      Batch batch;
      for (const std::string& file : files) {
        batch.push_back(Read(file));
      }
      guard.lock();
      done_.emplace(place, std::move(batch));
      if (place == delivered_) {
        next_.notify_one();
      }
    }
  }

  std::vector<std::string> TakeFiles() {
    std::vector<std::string> files;
    while (files.size() < kBatchFiles) {
      auto file = files_->Next();
      if (!file) {
        break;
      }
      files.push_back(std::move(*file));
    }
    return files;
  }

  Outcome Read(const std::string& file) const {
    Outcome outcome = {file, {}, {}, nullptr};
    try {
      outcome.unit = ReadUnit(file, shape_, log_);
    } catch (const Failure& failure) {
      outcome.rejection = failure.what();
    } catch (...) {
      outcome.failure = std::current_exception();
    }
    return outcome;
  }

  UnitFiles* const files_;
  const LotShape& shape_;
  CapturedLog* const log_;
  size_t most_waiting_ = 0;
  std::vector<std::thread> threads_;
  std::mutex lock_;
  std::condition_variable next_;  ///< The outcome that the caller waits for is there, or there is none.
  std::condition_variable room_;  ///< A thread may read a further file.
  // Guarded by the lock, as the files are.
  std::map<uint64_t, Batch> done_;
  uint64_t taken_ = 0;      ///< How many batches threads have begun.
  uint64_t delivered_ = 0;  ///< How many of them the caller has.
  bool ended_ = false;      ///< There is no further file.
  bool stops_ = false;
};

}  // namespace

LotShape CommonShape(const UnitFiles& files, const std::vector<uint32_t>& levels, CapturedLog* log) {
  constexpr size_t kMostTried = 100;
  size_t count = 0;
  std::vector<std::pair<LotShape, size_t>> shapes;  // Each with its number of files.
  std::vector<std::string> reasons;
  for (const std::string& path : FirstPaths(files, kMostTried, &count)) {
    try {
      Panel panel = Panel::FromFile(path, log);
      const LotShape shape = ShapeOf(&panel, levels);
      const auto known = std::find_if(shapes.begin(), shapes.end(),
                                      [&](const auto& each) { return DifferenceOf(each.first, shape) == nullptr; });
      if (known == shapes.end()) {
        shapes.emplace_back(shape, 1);
      } else {
        ++known->second;
      }
    } catch (const Failure& failure) {
      reasons.emplace_back(failure.what());
    }
  }
  if (count == 0) {
    throw Failure("lot: found no calibration file, expected files or folders with files that end with .xml");
  }
  if (shapes.empty()) {
    constexpr size_t kMostReasons = 10;
    const size_t told = std::min(reasons.size(), kMostReasons);
    throw Failure(fmt::format("lot: none of the first {} of {} files can be used", reasons.size(), count),
                  {reasons.begin(), reasons.begin() + static_cast<ptrdiff_t>(told)});
  }
  return std::max_element(shapes.begin(), shapes.end(),
                          [](const auto& a, const auto& b) { return a.second < b.second; })
      ->first;
}

void ReadUnits(UnitFiles* files, const LotShape& shape, CapturedLog* log,
               const std::function<void(const Unit& unit)>& counted,
               const std::function<void(const std::string& file, const std::string& reason)>& rejected) {
  Workers workers(files, shape, log);
  for (Batch batch = workers.Next(); !batch.empty(); batch = workers.Next()) {
    for (const Outcome& outcome : batch) {
      if (outcome.failure) {
        std::rethrow_exception(outcome.failure);
      }
      if (outcome.rejection.empty()) {
        counted(outcome.unit);
      } else {
        rejected(outcome.file, outcome.rejection);
      }
    }
  }
}

}  // namespace blnits

// Event loops as peers of timers and posted calls. Timers have `Start`, with a delay in
// microseconds, `Stop`, and `Turn`, which serves those that are due. Posts have `Post`, for any
// thread, and `Turn`.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <uv.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

namespace Common::Bench {

// Keeps what the serving thread counts apart from what the posting threads read.
inline constexpr std::size_t CacheLine = 64;

// Both loops keep their timers, as a host would.
class AsioTimers {
 public:
  explicit AsioTimers(std::size_t count) {
    for (std::size_t index = 0; index < count; ++index) timers.emplace_back(context);
  }

  void Start(std::size_t index, std::uint64_t microseconds) {
    timers[index].expires_after(std::chrono::microseconds(microseconds));
    timers[index].async_wait([this](const boost::system::error_code& error) {
      if (!error) ++served;
    });
  }
  void Stop(std::size_t index) { timers[index].cancel(); }
  void Turn() {
    context.restart();
    context.poll();
  }

 private:
  std::uint64_t served = 0;
  boost::asio::io_context context{BOOST_ASIO_CONCURRENCY_HINT_UNSAFE};
  std::deque<boost::asio::steady_timer> timers;
};

// Closes all handles before the loop.
class UvLoop {
 public:
  UvLoop() { uv_loop_init(&loop); }
  ~UvLoop() {
    uv_walk(
        &loop, [](uv_handle_t* handle, void*) { uv_close(handle, nullptr); }, nullptr);
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);
  }

  UvLoop(const UvLoop&) = delete;
  UvLoop& operator=(const UvLoop&) = delete;

  uv_loop_t* Get() { return &loop; }
  void Turn() { uv_run(&loop, UV_RUN_NOWAIT); }

 private:
  uv_loop_t loop{};
};

class UvTimers {
 public:
  explicit UvTimers(std::size_t count) : timers(count) {
    for (uv_timer_t& timer : timers) {
      uv_timer_init(loop.Get(), &timer);
      timer.data = &served;
    }
  }

  void Start(std::size_t index, std::uint64_t microseconds) {
    const uv_timer_cb count = [](uv_timer_t* fired) {
      ++*static_cast<std::uint64_t*>(fired->data);
    };
    uv_timer_start(&timers[index], count, microseconds / 1000, 0);
  }
  void Stop(std::size_t index) { uv_timer_stop(&timers[index]); }
  void Turn() { loop.Turn(); }

 private:
  std::uint64_t served = 0;
  std::vector<uv_timer_t> timers;
  UvLoop loop;
};

class AsioPosts {
 public:
  void Post() {
    boost::asio::post(context, [this] { ++served; });
  }
  void Turn() {
    context.restart();
    context.poll();
  }

 private:
  static constexpr int ThreadsThatServe = 1;

  boost::asio::io_context context{ThreadsThatServe};
  alignas(CacheLine) std::uint64_t served = 0;
};

// A uv_async_t only wakes the loop, so the queue is written here.
class UvPosts {
 public:
  UvPosts() {
    uv_async_init(loop.Get(), &async,
                  [](uv_async_t* woken) { static_cast<UvPosts*>(woken->data)->RunPosted(); });
    async.data = this;
  }

  void Post() {
    {
      const std::lock_guard lock(mutex);
      posted.emplace_back([this] { ++served; });
    }
    uv_async_send(&async);
  }
  void Turn() { loop.Turn(); }

 private:
  void RunPosted() {
    {
      const std::lock_guard lock(mutex);
      posted.swap(batch);
    }
    for (const std::function<void()>& call : batch) call();
    batch.clear();
  }

  std::mutex mutex;
  std::vector<std::function<void()>> posted;
  std::vector<std::function<void()>> batch;
  uv_async_t async{};
  UvLoop loop;
  alignas(CacheLine) std::uint64_t served = 0;
};

}  // namespace Common::Bench

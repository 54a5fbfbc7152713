#pragma once

#include <napi.h>

#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "addon/worker_thread.h"
#include "win/srw_lock.h"

namespace addon {

/// Describes one asynchronous script function, except for its arguments and its work. `Record` is the type of a
/// worker's result; a default-constructed record means that nothing was found.
template <typename Record>
struct BackgroundFunction {
  /// The worker's name, 15 characters at most.
  const char* threadName;
  /// The name of the pending call in Node.js' async hooks and diagnostics.
  const char* resourceName;
  /// Makes the callback's only argument. Script thread. Throws Napi::Error if a Node-API call fails.
  Napi::Value (*toScript)(Napi::Env env, const Record& record);
};

/// One asynchronous call on its way from the script thread to a worker and back. The worker holds one shared pointer to
/// it until Deliver has returned. `self_` is a second one: it keeps the call alive until the callback runs or the
/// script environment ends, and is null afterwards.
///
/// | State   | Owner of the record                    | Owner of the thread-safe function | Next state             |
/// |---------|----------------------------------------|-----------------------------------|------------------------|
/// | working | worker                                 | worker                            | queued, refused, ended |
/// | queued  | this object                            | Node.js                           | called, ended          |
/// | refused | none: Deliver has freed it             | Node.js                           | ended                  |
/// | called  | none: freed after the callback         | Node.js                           | none                   |
/// | ended   | none, or the worker until it delivers  | Node.js                           | none                   |
///
/// Deliver sets the state "queued", or "refused" if there is no memory for the queue's item. OnScriptThread sets
/// "called", and OnEnvironmentEnd sets "ended". OnEnvironmentEnd is a clean-up hook of the environment. Hooks run in
/// the reverse order of their registration, so it runs before Node.js' own hook, which closes the thread-safe function
/// and frees it. So the function is never closed while Deliver uses it. Some releases of Node.js free it even if the
/// worker has not released it yet, so the worker must not use it after OnEnvironmentEnd.
template <typename Record>
class BackgroundCall {
 public:
  /// Makes a call in the state "working". Throws Napi::Error if a Node-API call fails. Script thread.
  static std::shared_ptr<BackgroundCall> Create(Napi::Env env, Napi::Function callback,
                                                const BackgroundFunction<Record>& function) {
    const auto call = std::make_shared<BackgroundCall>(env, callback, function);
    call->self_ = call;
    return call;
  }

  /// Only for Create.
  BackgroundCall(Napi::Env env, Napi::Function callback, const BackgroundFunction<Record>& function)
      : toScript_(function.toScript),
        threadSafeFunction_(Napi::ThreadSafeFunction::New(env, callback, function.resourceName,
                                                          /*maxQueueSize=*/0, /*initialThreadCount=*/1)) {
    if (napi_add_env_cleanup_hook(env, &OnEnvironmentEnd, this) == napi_ok) return;
    const auto error = Napi::Error::New(env);
    threadSafeFunction_.Release();
    throw error;
  }

  /// Queues the record to the script thread. A null record means that it could not be allocated; the callback then gets
  /// a default-constructed one. If there is no memory for the queue's own item, Deliver frees the record and the
  /// callback never runs. Called once. Any thread.
  void Deliver(std::unique_ptr<Record> record) noexcept {
    // The lock must cover both the queueing and the release: as soon as OnScriptThread or OnEnvironmentEnd has
    // returned, Node.js may free the thread-safe function. Both wait for this lock on the script thread. That cannot
    // deadlock, because queueing never waits for the script thread.
    const std::lock_guard lock(mutex_);
    if (!isWorking_) return;
    isWorking_ = false;
    record_ = std::move(record);
    try {
      threadSafeFunction_.NonBlockingCall(this, &OnScriptThread);
    } catch (const std::bad_alloc&) {
      record_.reset();
    }
    threadSafeFunction_.Release();
  }

 private:
  static void OnScriptThread(Napi::Env env, Napi::Function callback, BackgroundCall* call) {
    const std::shared_ptr<BackgroundCall> keepAlive = std::move(call->self_);
    napi_remove_env_cleanup_hook(env, &OnEnvironmentEnd, call);
    std::unique_ptr<Record> record;
    {
      const std::lock_guard waitForWorker(call->mutex_);
      record = std::move(call->record_);
    }
    try {
      const Record nothing{};
      callback.Call(env.Undefined(), {call->toScript_(env, record ? *record : nothing)});
    } catch (const Napi::Error& error) {
      // If the error left this function, node-addon-api would throw it into script too, but would not free its queue
      // item.
      error.ThrowAsJavaScriptException();
    }
  }

  static void OnEnvironmentEnd(void* data) {
    BackgroundCall& call = *static_cast<BackgroundCall*>(data);
    const std::shared_ptr<BackgroundCall> keepAlive = std::move(call.self_);
    const std::lock_guard lock(call.mutex_);
    call.record_.reset();
    if (std::exchange(call.isWorking_, false)) call.threadSafeFunction_.Release();
  }

  Napi::Value (*const toScript_)(Napi::Env env, const Record& record);
  Napi::ThreadSafeFunction threadSafeFunction_;
  /// Only for the script thread.
  std::shared_ptr<BackgroundCall> self_;

  /// Guards the members below. An SrwLock also works after memory has run out.
  win::SrwLock mutex_;
  bool isWorking_ = true;
  std::unique_ptr<Record> record_;
};

/// Runs `work(Record&)` on a worker. Later, on the script thread, calls `callback` with one argument: the value
/// that `function.toScript` makes of the record. The receiver (`this`) is `undefined`. Calls may overlap; callbacks
/// come in the order in which the workers finish. An exception that the callback throws is passed on to Node.js, which
/// decides what happens next.
///
/// If `work` throws std::bad_alloc, the record is delivered as `work` left it. Any other exception from `work` ends the
/// process.
///
/// Returns `undefined`, which the handler returns too. Throws Napi::Error if a Node-API call fails. Throws
/// std::system_error if the thread cannot be started; this ends the process, so nothing is undone first. Script thread.
template <typename Record, typename Work>
Napi::Value RunInBackground(Napi::Env env, Napi::Function callback, const BackgroundFunction<Record>& function,
                            Work work) {
  auto call = BackgroundCall<Record>::Create(env, callback, function);
  StartWorker(function.threadName, [call = std::move(call), work = std::move(work)]() mutable {
    std::unique_ptr<Record> record;
    try {
      record = std::make_unique<Record>();
      work(*record);
    } catch (const std::bad_alloc&) {
      // The record is delivered as `work` left it.
    }
    call->Deliver(std::move(record));
  });
  return env.Undefined();
}

}  // namespace addon

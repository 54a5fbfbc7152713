#pragma once

#include <napi.h>

#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "addon/worker_thread.h"
#include "win/srw_lock.h"

namespace addon {

/// What distinguishes one asynchronous script function from another, apart from its arguments and its work. `Record`
/// is what a worker produces: default-constructible to the record of "nothing found out".
template <typename Record>
struct BackgroundFunction {
  /// The worker's name, 15 characters at most.
  const char* threadName;
  /// The name under which Node.js' async hooks and diagnostics know the pending call.
  const char* resourceName;
  /// Makes the callback's one argument. Script thread; a failing Node-API call throws Napi::Error.
  Napi::Value (*toScript)(Napi::Env env, const Record& record);
};

/// One asynchronous call on its way from the script thread to a worker and back.
///
/// Two owners: the worker, until it has delivered, and the script environment, until the callback has run or the
/// environment ends. The environment may end first, and some releases of Node.js then free a thread-safe function
/// although a thread still holds it. So the worker touches it only under `mutex_` and only while the clean-up hook
/// below has not run; hooks run in reverse order of their registration, so this one runs before Node.js' own clean-up
/// of the thread-safe function. Whatever happens, the record is freed by its owner's destructor.
template <typename Record>
class BackgroundCall : public std::enable_shared_from_this<BackgroundCall<Record>> {
 public:
  BackgroundCall(Napi::Env env, Napi::Function callback, const BackgroundFunction<Record>& function)
      : toScript_(function.toScript),
        threadSafeFunction_(Napi::ThreadSafeFunction::New(env, callback, function.resourceName,
                                                          /*maxQueueSize=*/0, /*initialThreadCount=*/1)) {}

  /// Ties this call to its environment; throws Napi::Error when that fails. Script thread.
  void Attach(Napi::Env env) {
    auto hold = std::make_unique<Hold>(this->shared_from_this());
    if (napi_add_env_cleanup_hook(env, &OnEnvironmentEnd, hold.get()) != napi_ok) {
      const auto error = Napi::Error::New(env);
      threadSafeFunction_.Release();
      throw error;
    }
    environmentHold_ = hold.release();
  }

  /// Queues the record to the script thread; a null record stands for one that memory did not suffice for. When the
  /// environment is closing, or the queue has no room for its own item, the record is freed and the callback never
  /// runs. Worker thread, once.
  void Deliver(std::unique_ptr<Record> record) {
    const std::lock_guard lock(mutex_);
    if (environmentEnded_) return;
    record_ = std::move(record);
    napi_status status = napi_generic_failure;
    try {
      status = threadSafeFunction_.NonBlockingCall(this, &OnScriptThread);
    } catch (const std::bad_alloc&) {
      // No room for the queue's own item: the call ends without its callback.
    }
    if (status != napi_ok) record_.reset();
    // To be refused because the environment is closing already gives the thread-safe function up: hands off it then.
    if (status != napi_closing) threadSafeFunction_.Release();
    released_ = true;
  }

 private:
  using Hold = std::shared_ptr<BackgroundCall>;

  static void OnScriptThread(Napi::Env env, Napi::Function callback, BackgroundCall* call) {
    const std::unique_ptr<Hold> hold(call->environmentHold_);
    napi_remove_env_cleanup_hook(env, &OnEnvironmentEnd, hold.get());
    std::unique_ptr<Record> record;
    {
      const std::lock_guard lock(call->mutex_);
      record = std::move(call->record_);
    }
    try {
      const Record nothing{};
      callback.Call(env.Undefined(), {call->toScript_(env, record ? *record : nothing)});
    } catch (const Napi::Error& error) {
      // Left to itself, Node.js turns an exception that leaves a thread-safe function into a mere warning. It belongs
      // to the client's handlers of uncaught exceptions.
      napi_fatal_exception(env, error.Value());
    }
  }

  static void OnEnvironmentEnd(void* data) {
    const std::unique_ptr<Hold> hold(static_cast<Hold*>(data));
    BackgroundCall& call = **hold;
    const std::lock_guard lock(call.mutex_);
    call.environmentEnded_ = true;
    call.record_.reset();
    if (!call.released_) call.threadSafeFunction_.Release();
  }

  Napi::Value (*const toScript_)(Napi::Env env, const Record& record);
  Napi::ThreadSafeFunction threadSafeFunction_;
  Hold* environmentHold_ = nullptr;

  /// Taken where memory has run out, too.
  win::SrwLock mutex_;
  bool environmentEnded_ = false;
  bool released_ = false;
  std::unique_ptr<Record> record_;
};

/// Runs `work(Record&)` on a worker of its own and later calls `callback` on the script thread with what
/// `function.toScript` makes of the record, as its only argument and with `undefined` as receiver. When memory runs out
/// in the worker, what `work` had put into the record until then is delivered; any other exception that `work` lets out
/// ends the process. Calls may overlap, and callbacks come in the order in which the workers finish. What a callback
/// throws is an uncaught exception of its environment.
///
/// Returns `undefined`, the handler's own result. Throws Napi::Error when a Node-API call fails and std::system_error
/// when the thread cannot be started. Script thread.
template <typename Record, typename Work>
Napi::Value RunInBackground(Napi::Env env, Napi::Function callback, const BackgroundFunction<Record>& function,
                            Work work) {
  auto call = std::make_shared<BackgroundCall<Record>>(env, callback, function);
  call->Attach(env);
  // Deliberate: when the thread cannot be started, the thread-safe function stays unreleased.
  StartWorker(function.threadName, [call = std::move(call), work = std::move(work)]() mutable {
    std::unique_ptr<Record> record;
    try {
      record = std::make_unique<Record>();
      work(*record);
    } catch (const std::bad_alloc&) {
      // The record holds what there was room for.
    }
    call->Deliver(std::move(record));
  });
  return env.Undefined();
}

}  // namespace addon

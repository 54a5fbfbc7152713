// A pdh.dll that plays a machine with GPU counters. Loaded before the module, it answers for the system's own of the
// same name. It serves the instances and values that the test sets, fails the calls that the test names, records every
// call, and watches what the module must keep: no two calls at the same time, no handle used that is closed, the right
// arguments. It is an add-on too, by which the test drives it with the functions at the bottom.

#include <napi.h>

#include <windows.h>

#include <pdh.h>
#include <pdhmsg.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Instance {
  std::u16string name;
  double value;
  DWORD status;
};

struct Counter {
  PDH_HQUERY query = nullptr;
  int collections = 0;
  /// As of the last collection.
  std::vector<Instance> instances;
};

std::mutex lock;
std::vector<Instance> instances;
std::map<std::string, PDH_STATUS> refusals;
std::vector<std::string> calls;
std::vector<std::string> faults;
std::set<PDH_HQUERY> queries;
std::map<PDH_HCOUNTER, Counter> counters;

/// One call that the module makes. Holds the lock from the end of its constructor.
class Call {
 public:
  explicit Call(const char* name) : name_(name) {
    const bool overlaps = inside.fetch_add(1) != 0;
    // Time for another call to come in, if nothing keeps it out.
    Sleep(1);
    guard_ = std::unique_lock(lock);
    calls.push_back(name_);
    if (overlaps) Fault("during another call");
  }
  ~Call() { inside.fetch_sub(1); }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  /// The status with which the test wants this call to do nothing, if it does.
  std::optional<PDH_STATUS> Refusal() const {
    const auto refusal = refusals.find(name_);
    return refusal == refusals.end() ? std::nullopt : std::optional(refusal->second);
  }

  PDH_STATUS Fault(const char* fault, DWORD status = PDH_INVALID_ARGUMENT) const {
    faults.push_back(name_ + ": " + fault);
    return static_cast<PDH_STATUS>(status);
  }

  PDH_STATUS ClosedHandle() const { return Fault("handle not open", PDH_INVALID_HANDLE); }

 private:
  static inline std::atomic<int> inside = 0;
  const std::string name_;
  std::unique_lock<std::mutex> guard_;
};

/// Never the same twice, so that a closed handle is known as such for ever. Under the lock.
HANDLE NewHandle() {
  static uintptr_t last = 0x1000;
  return reinterpret_cast<HANDLE>(++last);
}

DWORD SizeOf(const std::vector<Instance>& list) {
  size_t size = sizeof(PDH_FMT_COUNTERVALUE_ITEM_W);
  for (const Instance& instance : list)
    size += sizeof(PDH_FMT_COUNTERVALUE_ITEM_W) + (instance.name.size() + 1) * sizeof(wchar_t);
  return static_cast<DWORD>(size);
}

/// Lays `list` out as PDH does: the items first, their names behind them.
void Write(const std::vector<Instance>& list, PDH_FMT_COUNTERVALUE_ITEM_W* items) {
  auto* text = reinterpret_cast<wchar_t*>(items + list.size());
  for (const Instance& instance : list) {
    const size_t length = instance.name.size() + 1;
    std::memcpy(text, instance.name.c_str(), length * sizeof(wchar_t));
    items->szName = std::exchange(text, text + length);
    items->FmtValue.CStatus = instance.status;
    items->FmtValue.doubleValue = instance.value;
    ++items;
  }
}

}  // namespace

extern "C" {

PDH_STATUS WINAPI PdhOpenQueryW(LPCWSTR source, DWORD_PTR userData, PDH_HQUERY* query) {
  const Call call("PdhOpenQueryW");
  if (source || userData) return call.Fault("not for real-time data");
  if (const auto refusal = call.Refusal()) return *refusal;
  *query = *queries.insert(NewHandle()).first;
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI PdhAddCounterW(PDH_HQUERY query, LPCWSTR path, DWORD_PTR userData, PDH_HCOUNTER* counter) {
  const Call call("PdhAddCounterW");
  if (std::wstring(path) != L"\\GPU Engine(*)\\Utilization Percentage" || userData)
    return call.Fault("not for the GPU engine counter");
  if (const auto refusal = call.Refusal()) return *refusal;
  if (!queries.contains(query)) return call.ClosedHandle();
  *counter = NewHandle();
  counters[*counter].query = query;
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI PdhCollectQueryData(PDH_HQUERY query) {
  const Call call("PdhCollectQueryData");
  if (!queries.contains(query)) return call.ClosedHandle();
  if (const auto refusal = call.Refusal()) return *refusal;
  for (auto& [handle, counter] : counters) {
    if (counter.query != query) continue;
    ++counter.collections;
    counter.instances = instances;
  }
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI PdhGetFormattedCounterArrayW(PDH_HCOUNTER handle, DWORD format, LPDWORD size, LPDWORD count,
                                               PPDH_FMT_COUNTERVALUE_ITEM_W items) {
  const Call call(items ? "PdhGetFormattedCounterArrayW" : "PdhGetFormattedCounterArrayW(size)");
  if (format != PDH_FMT_DOUBLE) return call.Fault("not for doubles");
  if (!items && (*size || *count)) return call.Fault("a size to begin with");
  if (const auto refusal = call.Refusal()) return *refusal;
  const auto found = counters.find(handle);
  if (found == counters.end()) return call.ClosedHandle();
  const Counter& counter = found->second;
  // A percentage of time needs two points in time.
  if (counter.collections < 2) return static_cast<PDH_STATUS>(PDH_INVALID_DATA);
  const DWORD needed = SizeOf(counter.instances);
  const bool fits = items && *size >= needed;
  *size = needed;
  *count = static_cast<DWORD>(counter.instances.size());
  if (!fits) return static_cast<PDH_STATUS>(PDH_MORE_DATA);
  Write(counter.instances, items);
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI PdhRemoveCounter(PDH_HCOUNTER counter) {
  const Call call("PdhRemoveCounter");
  return counters.erase(counter) ? ERROR_SUCCESS : call.ClosedHandle();
}

PDH_STATUS WINAPI PdhCloseQuery(PDH_HQUERY query) {
  const Call call("PdhCloseQuery");
  if (std::any_of(counters.begin(), counters.end(), [&](const auto& entry) { return entry.second.query == query; })) {
    return call.Fault("before the counter is removed");
  }
  return queries.erase(query) ? ERROR_SUCCESS : call.ClosedHandle();
}

}  // extern "C"

namespace {

/// serve([[name, value, status], ...]): what the next collection finds.
void Serve(const Napi::CallbackInfo& info) {
  std::vector<Instance> list;
  const auto rows = info[0].As<Napi::Array>();
  for (uint32_t index = 0; index < rows.Length(); ++index) {
    const auto row = rows.Get(index).As<Napi::Array>();
    list.push_back({.name = row.Get(0U).ToString().Utf16Value(),
                    .value = row.Get(1U).ToNumber().DoubleValue(),
                    .status = row.Get(2U).ToNumber().Uint32Value()});
  }
  const std::lock_guard guard(lock);
  instances = std::move(list);
}

/// refuse(call, status): from now on that call does nothing and returns the status. Without a call all work again.
void Refuse(const Napi::CallbackInfo& info) {
  const std::lock_guard guard(lock);
  if (info[0].IsUndefined())
    refusals.clear();
  else
    refusals[info[0].ToString()] = info[1].ToNumber().Int32Value();
}

Napi::Array ToScript(Napi::Env env, const std::vector<std::string>& texts) {
  const auto array = Napi::Array::New(env);
  for (uint32_t index = 0; index < texts.size(); ++index)
    array.Set(index, texts[index]);
  return array;
}

/// report(): { calls, faults, queries, counters }: all calls, all that was wrong about them, and the open handles.
Napi::Value Report(const Napi::CallbackInfo& info) {
  const std::lock_guard guard(lock);
  const auto report = Napi::Object::New(info.Env());
  report.Set("calls", ToScript(info.Env(), calls));
  report.Set("faults", ToScript(info.Env(), faults));
  report.Set("queries", static_cast<double>(queries.size()));
  report.Set("counters", static_cast<double>(counters.size()));
  return report;
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  exports.Set("serve", Napi::Function::New(env, &Serve));
  exports.Set("refuse", Napi::Function::New(env, &Refuse));
  exports.Set("report", Napi::Function::New(env, &Report));
  return exports;
}

}  // namespace

NODE_API_MODULE(NODE_GYP_MODULE_NAME, Init)

#include "gpu_usage/usage_accumulator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

using gpu_usage::GpuProcessUsageResult;
using gpu_usage::UsageAccumulator;

namespace {

using Instances = std::vector<std::pair<const wchar_t*, double>>;

GpuProcessUsageResult Accumulate(int32_t nativePid, int32_t gpuPid, const Instances& instances) {
  UsageAccumulator accumulator(nativePid, gpuPid);
  for (const auto& [name, value] : instances)
    accumulator.Add(name, value);
  return accumulator.Result();
}

/// The record as a row of its sixteen fields.
std::vector<double> Row(const GpuProcessUsageResult& r) {
  return {static_cast<double>(r.has3d),  r.gpuProc3d,  r.nativeProc3d,  r.sys3d,
          static_cast<double>(r.hasEnc), r.gpuProcEnc, r.nativeProcEnc, r.sysEnc,
          static_cast<double>(r.hasDec), r.gpuProcDec, r.nativeProcDec, r.sysDec,
          static_cast<double>(r.hasCod), r.gpuProcCod, r.nativeProcCod, r.sysCod};
}

const std::vector<double> kNothing(16, 0.0);

/// The 3D sums of the native process, id `pid`, over one instance of value 1.
double NativeProc3d(int32_t pid, const wchar_t* name) {
  return Accumulate(pid, -1, {{name, 1.0}}).nativeProc3d;
}

}  // namespace

TEST(UsageAccumulator, SumsEachKindForEachProcessAndForTheSystem) {
  const auto result = Accumulate(1234, 5678,
                                 {{L"pid_1234_luid_0x00000000_0x0000A1B2_phys_0_eng_0_engtype_3D", 12.5},
                                  {L"pid_5678_luid_0x00000000_0x0000A1B2_phys_0_eng_0_engtype_3D", 20.0},
                                  {L"pid_5678_luid_0x00000000_0x0000A1B2_phys_1_eng_0_engtype_3D", 0.25},
                                  {L"pid_9_luid_0x00000000_0x0000A1B2_phys_0_eng_0_engtype_3D", 90.0},
                                  {L"pid_1234_luid_0x00000000_0x0000A1B2_phys_0_eng_1_engtype_VideoEncode", 3.0},
                                  {L"pid_5678_luid_0x00000000_0x0000A1B2_phys_0_eng_2_engtype_VideoDecode", 5.0},
                                  {L"pid_1234_luid_0x00000000_0x0000A1B2_phys_0_eng_3_engtype_Video Codec", 7.0}});
  // clang-format off
  EXPECT_EQ(Row(result), (std::vector<double>{1, 20.25, 12.5, 122.75,
                                              1, 0, 3, 3,
                                              1, 5, 0, 5,
                                              1, 0, 7, 7}));
  // clang-format on
}

TEST(UsageAccumulator, IgnoresOtherKindsAndNamesThatTellNoKind) {
  EXPECT_EQ(Row(Accumulate(12, 12,
                           {{L"pid_12_engtype_Copy", 1.0},
                            {L"pid_12_engtype_Compute_0", 1.0},
                            {L"pid_12_engtype_VideoCodec", 1.0},
                            {L"pid_12_engtype_Video  Codec", 1.0},
                            {L"pid_12_engtype_VideoEncod", 1.0},
                            {L"pid_12_engtype", 1.0},
                            {L"pid_12_engtype_", 1.0},
                            {L"pid_12_3D_engtype_Copy", 1.0},
                            {L"_Total", 1.0},
                            {L"", 1.0}})),
            kNothing);
}

TEST(UsageAccumulator, FindsAProcessAnywhereByTheDigitsItBeginsWith) {
  EXPECT_EQ(NativeProc3d(123, L"pid_1234_engtype_3D"), 1.0);
  EXPECT_EQ(NativeProc3d(12, L"pid_123_engtype_3D"), 1.0);
  EXPECT_EQ(NativeProc3d(0, L"pid_0_engtype_3D"), 1.0);
  EXPECT_EQ(NativeProc3d(INT32_MIN, L"pid_-2147483648_engtype_3D"), 1.0);
  EXPECT_EQ(NativeProc3d(12, L"luid_7_engtype_3Dpid_12"), 1.0) << "the order is not looked at";
  EXPECT_EQ(NativeProc3d(12, L"xpid_pid_12_engtype_3D"), 1.0);
  EXPECT_EQ(NativeProc3d(12, L"pid_7_pid_12_pid_12_engtype_3D"), 1.0) << "counts once however often it is told";

  EXPECT_EQ(NativeProc3d(1234, L"pid_123_engtype_3D"), 0.0);
  EXPECT_EQ(NativeProc3d(34, L"pid_1234_engtype_3D"), 0.0);
  EXPECT_EQ(NativeProc3d(-5, L"pid_5_engtype_3D"), 0.0);
  EXPECT_EQ(NativeProc3d(12, L"pid 12_engtype_3D"), 0.0);
  EXPECT_EQ(NativeProc3d(12, L"engtype_3D_pid_1"), 0.0);
}

TEST(UsageAccumulator, TakesUpperAndLowerCaseAsTheSame) {
  const auto result = Accumulate(12, 13, {{L"PID_12_ENGTYPE_VIDEO CODEC", 1.0}, {L"pid_13_engtype_video codec", 2.0}});
  EXPECT_EQ(result.nativeProcCod, 1.0);
  EXPECT_EQ(result.gpuProcCod, 2.0);
  EXPECT_EQ(result.sysCod, 3.0);
}

TEST(UsageAccumulator, CountsANameThatTellsTwoKindsOrBothProcessesForAllOfThem) {
  const auto result = Accumulate(12, 34, {{L"pid_12_pid_34_engtype_VideoDecode_engtype_3D_engtype_engtype_3D", 4.0}});
  // clang-format off
  EXPECT_EQ(Row(result), (std::vector<double>{1, 4, 4, 4,
                                              0, 0, 0, 0,
                                              1, 4, 4, 4,
                                              0, 0, 0, 0}));
  // clang-format on
}

TEST(UsageAccumulator, CountsForBothProcessesWhenTheyAreTheSame) {
  const auto result = Accumulate(12, 12, {{L"pid_12_engtype_3D", 4.0}, {L"pid_7_engtype_3D", 1.0}});
  EXPECT_EQ(result.gpuProc3d, 4.0);
  EXPECT_EQ(result.nativeProc3d, 4.0);
  EXPECT_EQ(result.sys3d, 5.0);
}

TEST(UsageAccumulator, TakesValuesAsTheyAre) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto result = Accumulate(12, 34,
                                 {{L"pid_12_engtype_3D", 0.0},
                                  {L"pid_12_engtype_VideoEncode", 100.0},
                                  {L"pid_12_engtype_VideoEncode", 100.0},
                                  {L"pid_34_engtype_VideoDecode", -1.5},
                                  {L"pid_12_engtype_Video Codec", 1.0},
                                  {L"pid_34_engtype_Video Codec", nan}});
  EXPECT_TRUE(result.has3d) << "an idle engine was seen";
  EXPECT_EQ(result.sys3d, 0.0);
  EXPECT_EQ(result.nativeProcEnc, 200.0) << "never clamped";
  EXPECT_EQ(result.gpuProcDec, -1.5);
  EXPECT_EQ(result.nativeProcCod, 1.0);
  EXPECT_TRUE(std::isnan(result.gpuProcCod));
  EXPECT_TRUE(std::isnan(result.sysCod));
}

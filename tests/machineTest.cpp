#include "tools/omrender/machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace
{

struct Group
{
  const char* name;
  const char* processGroups; ///< what /proc/self/cgroup has
  const char* file;          ///< below /sys/fs/cgroup
  const char* content;
  int processors;       ///< at most; 0 for all
  std::uint64_t memory; ///< in bytes, at most; 0 for all
};

class machineTest : public testing::TestWithParam<Group>
{
};

TEST_P(machineTest, ObeysTheLimitsOfItsGroups)
{
  const Group& group = GetParam();
  const std::filesystem::path root = std::filesystem::path(testing::TempDir()) / OmString("machine.") / group.name;
  const std::filesystem::path file = root / "sys/fs/cgroup" / group.file;
  std::filesystem::create_directories(root / "proc/self");
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(root / "proc/self/cgroup") << group.processGroups;
  std::ofstream(file) << group.content;
  if (file.filename() == "cpu.cfs_quota_us")
    std::ofstream(file.parent_path() / "cpu.cfs_period_us") << "100000\n";

  const int processors = usableProcessors("/nowhere");
  const std::uint64_t memory = usableMemory("/nowhere");
  EXPECT_GE(processors, 1);
  EXPECT_GT(memory, std::uint64_t{1} << 20);
  EXPECT_EQ(usableProcessors(root.string()), group.processors ? std::min(group.processors, processors) : processors);
  EXPECT_EQ(usableMemory(root.string()), group.memory ? group.memory : memory);
  std::filesystem::remove_all(root);
}

INSTANTIATE_TEST_SUITE_P(
    Groups, machineTest,
    testing::Values(Group{"v2", "0::/a/b\n", "a/b/memory.max", "65536\n", 0, 65536},
                    Group{"v2Outer", "0::/a/b\n", "a/memory.max", "65536\n", 0, 65536},
                    Group{"v2Root", "0::/\n", "memory.max", "65536\n", 0, 65536},
                    Group{"v2None", "0::/a\n", "a/memory.max", "max\n", 0, 0},
                    Group{"v2Quota", "0::/a\n", "a/cpu.max", "100000 100000\n", 1, 0},
                    Group{"v2PartOfOne", "0::/a\n", "a/cpu.max", "50000 100000\n", 1, 0},
                    Group{"v2NoQuota", "0::/a\n", "a/cpu.max", "max 100000\n", 0, 0},
                    Group{"v1", "4:memory:/a\n3:cpu:/\n", "memory/a/memory.limit_in_bytes", "65536\n", 0, 65536},
                    Group{"v1Unseen", "4:memory:/docker/1f\n", "memory/memory.limit_in_bytes", "65536\n", 0, 65536},
                    Group{"v1None", "4:memory:/a\n", "memory/a/memory.limit_in_bytes", "9223372036854771712\n", 0, 0},
                    Group{"v1Quota", "5:cpuset,cpu,cpuacct:/a\n", "cpu/a/cpu.cfs_quota_us", "100000\n", 1, 0},
                    Group{"v1NoQuota", "5:cpu,cpuacct:/a\n", "cpu/a/cpu.cfs_quota_us", "-1\n", 0, 0}),
    [](const auto& parameter) { return parameter.param.name; });

} // namespace

#include "tools/omrender/filter/shard.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/optionValues.h"

#include <CLI/App.hpp>

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <system_error>

#include <xxhash.h>

namespace
{

constexpr char Option[] = "--shard";

[[noreturn]] void refuse(const OmString& reason)
{
  throw CLI::ValidationError(Option, "auto: " + reason + "; give I/N, as in 2/8");
}

/// A whole number in the environment. Throws if there is none.
std::uint64_t numberOf(const char* name)
{
  const char* const value = std::getenv(name);
  if (!value)
    refuse(OmString(name) + " is not set");
  const OmString text = value;
  OmU32 number = 0; // none of these is larger
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size())
    refuse(OmString(name) + " is " + quoted(text) + ", not a number");
  return number;
}

/// Throws if there is no such shard.
Shard checkedShard(std::uint64_t index, std::uint64_t count, const OmString& source)
{
  if (index >= count || count > Shard::MostShards)
    refuse(source + " is number " + std::to_string(index + 1) + " of " + std::to_string(count) + ", not one of 1 to " +
           std::to_string(Shard::MostShards));
  return {static_cast<OmU32>(index + 1), static_cast<OmU32>(count)};
}

Shard shardOfSlurm()
{
  const std::uint64_t id = numberOf("SLURM_ARRAY_TASK_ID");
  const std::uint64_t first = numberOf("SLURM_ARRAY_TASK_MIN");
  const std::uint64_t last = numberOf("SLURM_ARRAY_TASK_MAX");
  const std::uint64_t step = numberOf("SLURM_ARRAY_TASK_STEP");
  const std::uint64_t count = numberOf("SLURM_ARRAY_TASK_COUNT");
  const bool isEven = step > 0 && count > 0 && last >= first && last - first == step * (count - 1);
  if (!isEven || id < first || (id - first) % step != 0)
    refuse("the numbers of the Slurm array do not follow each other by one step");
  return checkedShard((id - first) / step, count, "the Slurm task");
}

Shard shardOfKubernetes()
{
  const std::uint64_t index = numberOf("JOB_COMPLETION_INDEX");
  return checkedShard(index, numberOf("JOB_COMPLETION_COUNT"), "the Kubernetes pod");
}

} // namespace

bool Shard::has(const OmString& picture) const
{
  return count == 1 || ::XXH64(picture.data(), picture.size(), 0) % count + 1 == number;
}

std::optional<Shard> readShard(const OmString& text)
{
  const std::size_t slash = text.find('/');
  if (slash == OmString::npos)
    return std::nullopt;
  const auto number = readCount(text.substr(0, slash), Shard::MostShards);
  const auto count = readCount(text.substr(slash + 1), Shard::MostShards);
  if (!number || !count || *number > *count)
    return std::nullopt;
  return Shard{static_cast<OmU32>(*number), static_cast<OmU32>(*count)};
}

Shard shardOfTask()
{
  const bool isSlurm = std::getenv("SLURM_ARRAY_TASK_ID") != nullptr;
  const bool isKubernetes = std::getenv("JOB_COMPLETION_INDEX") != nullptr;
  if (isSlurm && isKubernetes)
    refuse("both SLURM_ARRAY_TASK_ID and JOB_COMPLETION_INDEX are set");
  if (!isSlurm && !isKubernetes)
    refuse("neither SLURM_ARRAY_TASK_ID nor JOB_COMPLETION_INDEX is set");
  return isSlurm ? shardOfSlurm() : shardOfKubernetes();
}

void addShardOption(CLI::App& command, Shard& shard)
{
  const auto store = [&shard](const OmString& text)
  {
    const auto read = text == "auto" ? shardOfTask() : readShard(text);
    if (!read)
      throw CLI::ValidationError(Option, "takes I/N with I from 1 to N and N up to " +
                                             std::to_string(Shard::MostShards) + ", or auto, not " + quoted(text));
    shard = *read;
  };
  command
      .add_option_function<OmString>(Option, store,
                                     "Filter one of N parts of the pictures, from 1; auto takes it from Slurm's or "
                                     "Kubernetes' variables")
      ->type_name("I/N|auto");
}

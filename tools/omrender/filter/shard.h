#ifndef OM_TOOLS_SHARD_H
#define OM_TOOLS_SHARD_H

#include "foundation/core/omTypes.h"

#include <optional>

namespace CLI
{
class App;
}

/// A part of the pictures. By its name alone a picture belongs to one of them, so that neither the order of the
/// pictures nor those that are added move it to another one.
struct Shard
{
  static constexpr OmU32 MostShards = 1000000;

  OmU32 number = 1; ///< from 1 to count
  OmU32 count = 1;

  /// Whether a picture belongs to it, by its name as the user gives it.
  bool has(const OmString& picture) const;
};

/// Adds --shard. The shard must outlive the command.
void addShardOption(CLI::App& command, Shard& shard);

/// "I/N"
std::optional<Shard> readShard(const OmString& text);

/// The shard of a task, by the variables that Slurm sets for each of an array, or Kubernetes for each of an indexed
/// job. Throws a CLI::ValidationError if they are not there, or do not fit each other.
Shard shardOfTask();

#endif

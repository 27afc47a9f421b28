// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "play.hpp"
#include "support/descriptor.hpp"

#include <filesystem>
#include <string>

namespace demo
{

/** A directory outside the sandbox that keeps the results of the scenarios. */
class Keep
{
  public:
    /** Opens the directory, and creates it if it is missing. Must be called
     *  before the sandbox is entered. @throws std::system_error */
    explicit Keep(const std::filesystem::path& directory);

    /** Writes the files of a scenario, as a tree, below a directory of this
     *  name, with the calls and the log beside them. The files of an earlier
     *  run are removed first. */
    void save(const std::string& name, const ScenarioResult& result) const;

  private:
    support::Descriptor descriptor;
};

} // namespace demo

#pragma once

#include "play.hpp"
#include "support/descriptor.hpp"

#include <filesystem>
#include <string>

namespace demo
{

/** A directory outside of the sandbox, for what is left of the scenarios. */
class Keep
{
  public:
    /** Opens the directory, which is made if it is missing. Comes before the
     *  sandbox is entered. @throws std::system_error */
    explicit Keep(const std::filesystem::path& directory);

    /** Writes the files of a scenario, as a tree, below a directory of this
     *  name, with the calls and the log beside them; what a former run has left
     *  there is removed first. */
    void save(const std::string& name, const Outcome& outcome) const;

  private:
    support::Descriptor descriptor;
};

} // namespace demo

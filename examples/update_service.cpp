/**
 * A small firmware-update service: what a program on a BMC does with the
 * library.
 *
 * It reads a request from each line of standard input, serves it to its end,
 * and ends with its input:
 *
 *   managers                 the firmwares, and the purpose of each
 *   config NAME              the configuration of a firmware, item by item
 *   options NAME             publish the update options it is configured with
 *   option NAME              the update option that is requested
 *   mask NAME                mask the power button, for the time of an update
 *   unmask NAME              unmask it
 *   check NAME DIRECTORY     check the firmware.tar there and keep the result
 *   state NAME STATE         keep the update state
 *   records NAME             the check result and the update state kept
 *   progress NAME OBJECT FROM TO
 *                            publish the progress, ten per cent at a time
 *   backup NAME DIRECTORY VERSION
 *                            back up the firmware.tar there
 *   publish NAME OBJECT VERSION DATE TITLE
 *                            publish what a software object is
 *   history NAME ACTIVATION VERSION
 *                            add to the version history of an activation state
 *   forget NAME ACTIVATION   delete that history
 *   verify NAME OBJECT       promote the backup, if it is what the object runs
 *   slots NAME               the backup area and the versions in it
 *
 * Nothing is done with an image (progress, backup, publish) unless the last
 * check that is kept has found it whole.
 *
 * An answer is lines of `what: value`, among them `progress: PERCENT` while
 * something takes its time, and at last `done: STATUS`, where 0 is success.
 */
#include "answer.hpp"
#include "requests.hpp"

#include <libfenmarch.hpp>

#include <array>
#include <exception>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>

namespace
{

using namespace phosphor::software::updater;

/**
 * The firmwares that are looked after. The managers live as long as the
 * service: they share one connection to the bus, which closes with the first
 * of them that is destroyed.
 */
class UpdateService
{
  public:
    int serve(const Words& words)
    {
        if (words.at(0) == "managers")
        {
            return showManagers();
        }
        const Request* const request = findRequest(words.at(0));
        if (request == nullptr)
        {
            throw std::invalid_argument("no such request: " + words.at(0));
        }
        return request->serve(manager(words.at(1)),
                              {words.begin() + 2, words.end()});
    }

  private:
    int showManagers()
    {
        for (const auto& firmware : firmwares)
        {
            say(firmware.name,
                "purpose " + getNameFromVersionPurpose(firmware.purpose));
        }
        return 0;
    }

    FwManager& manager(const std::string& name)
    {
        for (auto& firmware : firmwares)
        {
            if (firmware.name == name)
            {
                return firmware;
            }
        }
        throw std::invalid_argument("no such firmware: " + name);
    }

    // By purpose, by name, and by default.
    std::array<FwManager, 4> firmwares{
        FwManager(VersionPurpose::Host),
        FwManager("BMC"),
        FwManager("CPLD"),
        FwManager(),
    };
};

/** A request that fails does not end the service. */
int serveOrSayWhyNot(UpdateService& service, const Words& words)
{
    try
    {
        return service.serve(words);
    }
    catch (const std::exception& error)
    {
        say("error", error.what());
        return -1;
    }
}

} // namespace

int main()
{
    UpdateService service;
    for (std::string line; std::getline(std::cin, line);)
    {
        std::istringstream text(line);
        const Words words(std::istream_iterator<std::string>{text}, {});
        say("done", serveOrSayWhyNot(service, words));
    }
}

// SPDX-License-Identifier: Apache-2.0
#include "support/child.hpp"
#include "support/library_test.hpp"

namespace
{

class Examples : public support::BusTest
{
  public:
    Examples()
    {
        support::writeFile(configFile, R"({"Host":{"updateable":"yes",)"
                                       R"("image_list":"bios.bin,me.bin",)"
                                       R"("options":"Preserve",)"
                                       R"("image_backup_path":")" +
                                           (scratch.path / "backup").string() +
                                           R"("}})");
    }

    static support::ProcessResult run(const std::string& program,
                                      std::vector<std::string> arguments = {})
    {
        arguments.insert(arguments.begin(),
                         std::string(EXAMPLES) + "/" + program);
        return support::run(arguments);
    }

    support::ScratchDirectory scratch;
};

TEST_F(Examples, ReadConfiguration)
{
    const auto known = run("read_configuration", {"Host"});
    EXPECT_EQ(known.status, 0);
    EXPECT_EQ(known.output, "Host may be updated: yes\n"
                            "image bios.bin\n"
                            "image me.bin\n"
                            "option Preserve\n");
    const auto unknown = run("read_configuration", {"BMC"});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(unknown.output, "BMC is not configured\n");
}

TEST_F(Examples, KeepRecords)
{
    const auto outcome = run("keep_records");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "Host is staged: 1.02.03\n");
    EXPECT_EQ(support::readFile(stateFile), R"({
    "Host": {
        "check_result": "yes",
        "update_state": "staged",
        "Staged_0": "1.02.03",
        "Staged_count": "1"
    }
}
)");
}

TEST_F(Examples, BackUp)
{
    support::writeFile(scratch.path / "in" / "firmware.tar", "image");
    const auto outcome =
        run("back_up", {(scratch.path / "in").string(), "1.02.03"});
    EXPECT_EQ(outcome.status, 0);
    const auto slot = scratch.path / "backup" / "Host" / "verified";
    EXPECT_EQ(outcome.output, "to be verified: 1.02.03\n"
                              "verified: 1.02.03 in " +
                                  slot.string() + "\n");
    EXPECT_EQ(support::readFile(slot / "firmware.tar"), "image");
}

TEST_F(Examples, PublishVersion)
{
    support::writeFile("/etc/bios-release", "VERSION_ID=\"1.01.00\"\n");
    const auto outcome = run("publish_version");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "bios_active shows 1.02.03\n");
    EXPECT_EQ(services.property("/xyz/openbmc_project/chassis/buttons/power",
                                "ButtonMasked"),
              "b false");
    EXPECT_EQ(services.property("/xyz/openbmc_project/software/bios_active",
                                "Progress"),
              "y 100");
    EXPECT_EQ(support::readFile("/etc/bios-release"),
              "BUILD_DATE=\"2024-05-06\"\n"
              "NAME=\"Example\"\n"
              "VERSION_ID=\"1.02.03\"\n");
}

} // namespace

#include <tests/support/PrivateRoot.h>
#include <zun/files/CEnclosureType.h>

#include <gtest/gtest.h>

#include <filesystem>

#ifdef __linux__

TEST(CEnclosureType, AsksTheFirmware) {
    PrivateRoot const root;
    if (!root.isEntered())
        GTEST_SKIP() << "only the super-user may have a root directory of its own";
    bool portable = true;
    EXPECT_EQ(CEnclosureType::iIsAPortableComputer(portable), 0);
    EXPECT_FALSE(portable) << "without firmware";

    std::string const firmware = "/sys/class/dmi/id/";
    std::filesystem::create_directories(firmware);
    struct Computer {
        char const* model;
        char const* chassis;
        bool isPortable;
    };
    for (Computer const& computer : {Computer{"Some Tower\n", "3\n", false},
                                     {"Some NoteBook 14\n", "3\n", true},
                                     {"Some Model\n", "10\n", true},
                                     {"Some Model\n", "1\n", false}}) {
        writeFile(firmware + "product_name", computer.model);
        writeFile(firmware + "chassis_type", computer.chassis);
        EXPECT_EQ(CEnclosureType::iIsAPortableComputer(portable), 0);
        EXPECT_EQ(portable, computer.isPortable) << computer.model << computer.chassis;
    }
}

#endif

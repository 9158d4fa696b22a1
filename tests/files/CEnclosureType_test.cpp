#include <tests/support/PrivateRoot.h>
#include <zun/files/CEnclosureType.h>

#include <tuple>

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
    using Computer = std::tuple<char const*, char const*, bool>;
    for (auto const& [model, chassis, isPortable] :
         {Computer{"Some Tower\n", "3\n", false}, Computer{"Some NoteBook 14\n", "3\n", true},
          Computer{"Some Model\n", "10\n", true}, Computer{"Some Model\n", "1\n", false}}) {
        writeFile(firmware + "product_name", model);
        writeFile(firmware + "chassis_type", chassis);
        EXPECT_EQ(CEnclosureType::iIsAPortableComputer(portable), 0);
        EXPECT_EQ(portable, isPortable) << model << chassis;
    }
}

#endif

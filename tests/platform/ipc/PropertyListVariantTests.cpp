#include <fcntl.h>
#include <gio/gunixfdlist.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/core/GObjectRef.h"
#include "platform/ipc/FileDescriptorData.h"
#include "platform/ipc/PropertyListVariant.h"
#include "support/Fixtures.h"

namespace {

PropertyValue roundTrip(const PropertyValue& value, GUnixFDList* fds = nullptr) {
    auto variant = AdoptVariant(VariantFromPropertyValue(value, fds));
    return PropertyValueFromVariant(variant.get(), fds);
}

TEST(PropertyListVariant, EveryCarriedKindComesBackAsItWent) {
    using Kind = NSNumber::Kind;
    const std::pair<PropertyValue, const char*> cases[] = {
        {NSNumber::numberWithBool(true), "b"},
        {NSNumber::numberWithKind(Kind::Byte, 200), "y"},
        {NSNumber::numberWithKind(Kind::Int16, -3), "n"},
        {NSNumber::numberWithKind(Kind::UInt16, 65535), "q"},
        {NSNumber::numberWithKind(Kind::Int32, -70000), "i"},
        {NSNumber::numberWithKind(Kind::UInt32, 4000000000), "u"},
        {NSNumber::numberWithKind(Kind::Int64, INT64_MIN), "x"},
        {NSNumber::numberWithUnsignedLongLong(UINT64_MAX), "t"},
        {NSNumber::numberWithDouble(-0.25), "d"},
        {PropertyValue("grüße"), "s"},
        {PropertyValue(NSData::dataWithBytes("\0\1\2", 3)), "ay"},
        {PropertyValue(PropertyArray{PropertyValue("a"), PropertyValue::number(1)}), "av"},
        {PropertyValue(PropertyDictionary{{"k", PropertyValue(PropertyDictionary{{"n", PropertyValue::real(1)}})}}), "a{sv}"},
    };
    for (const auto& [value, type] : cases) {
        auto variant = AdoptVariant(VariantFromPropertyValue(value, nullptr));
        ASSERT_TRUE(variant) << type;
        EXPECT_STREQ(g_variant_get_type_string(variant.get()), type);
        auto back = PropertyValueFromVariant(variant.get(), nullptr);
        EXPECT_EQ(back, value) << type;
        if (auto number = back.number()) {
            EXPECT_EQ(number->kind(), value.number()->kind()) << type;
        }
    }
}

TEST(PropertyListVariant, UncarriedValuesReadAsNothing) {
    auto dictionary = AdoptVariant(g_variant_new_parsed(
        "{'path': <objectpath '/a'>, 'pair': <(1, 2)>, 'ints': <[1, 2]>, 'ok': <'yes'>, 'maybe': <@ms nothing>}"));
    auto value = PropertyValueFromVariant(dictionary.get(), nullptr);
    ASSERT_NE(value.dictionary(), nullptr);
    EXPECT_EQ(*value.dictionary(), (PropertyDictionary{{"ok", "yes"}}));

    EXPECT_EQ(VariantFromPropertyValue(PropertyValue(NSDate{1}), nullptr), nullptr);
    EXPECT_EQ(VariantFromPropertyValue(PropertyValue(std::string("bad \xff utf-8")), nullptr), nullptr);
    EXPECT_EQ(VariantFromPropertyValue(PropertyValue(std::string("nul\0inside", 10)), nullptr), nullptr);
}

TEST(PropertyListVariant, LargeDataTravelsAsASealedMemfd) {
    std::vector<uint8_t> bytes(kInlineDataLimit + 1);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = uint8_t(i * 7);
    PropertyValue data(NSData::dataWithVector(bytes));
    auto fds = GObjectRef<GUnixFDList>::adopt(g_unix_fd_list_new());
    auto variant = AdoptVariant(VariantFromPropertyValue(data, fds.get()));
    EXPECT_STREQ(g_variant_get_type_string(variant.get()), "h");
    ASSERT_EQ(g_unix_fd_list_get_length(fds.get()), 1);
    int fd = g_unix_fd_list_peek_fds(fds.get(), nullptr)[0];
    EXPECT_EQ(fcntl(fd, F_GET_SEALS) & (F_SEAL_WRITE | F_SEAL_SHRINK), F_SEAL_WRITE | F_SEAL_SHRINK);
    EXPECT_EQ(PropertyValueFromVariant(variant.get(), fds.get()), data);
    // Without a list to put it in, it goes inline.
    EXPECT_EQ(roundTrip(data), data);
}

TEST(FileDescriptorData, ReadsFilesAndMemfdsAndRefusesEverythingElse) {
    lxkit::test::TemporaryFolder folder;
    auto path = folder / "movie.bin";
    lxkit::test::writeFile(path, {1, 2, 3, 4});
    int file = open(path.c_str(), O_RDONLY);
    auto fromFile = DataFromFileDescriptor(file);
    ASSERT_FALSE(fromFile.isError());
    EXPECT_EQ(fromFile.value(), NSData::dataWithBytes("\1\2\3\4", 4));
    // A copy: truncating the file later does not reach the bytes read.
    truncate(path.c_str(), 0);
    EXPECT_EQ(fromFile.value().length(), 4u);
    close(file);

    auto memfd = CreateSealedMemfd(NSData::dataWithBytes("sealed", 6), "test");
    ASSERT_FALSE(memfd.isError());
    EXPECT_EQ(DataFromFileDescriptor(memfd.value()).value(), NSData::dataWithBytes("sealed", 6));
    close(memfd.value());

    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    EXPECT_TRUE(DataFromFileDescriptor(pipeEnds[0]).isError());
    close(pipeEnds[0]);
    close(pipeEnds[1]);
    int folderDescriptor = open(folder.path().c_str(), O_RDONLY | O_DIRECTORY);
    EXPECT_TRUE(DataFromFileDescriptor(folderDescriptor).isError());
    close(folderDescriptor);
    EXPECT_TRUE(DataFromFileDescriptor(-1).isError());

    // A memfd its sender can still write is copied, not mapped.
    int unsealed = memfd_create("unsealed", MFD_CLOEXEC);
    ASSERT_EQ(write(unsealed, "abc", 3), 3);
    auto fromUnsealed = DataFromFileDescriptor(unsealed);
    ASSERT_EQ(pwrite(unsealed, "x", 1, 0), 1);
    EXPECT_EQ(fromUnsealed.value(), NSData::dataWithBytes("abc", 3));
    close(unsealed);

    // A handle that points past the message's descriptors reads as nothing.
    auto handle = AdoptVariant(g_variant_new_handle(3));
    EXPECT_TRUE(PropertyValueFromVariant(handle.get(), nullptr).isNone());
}

TEST(FileDescriptorData, AFileReadIntoAMemfdTravelsWithoutAnotherCopy) {
    lxkit::test::TemporaryFolder folder;
    auto path = folder / "movie.bin";
    lxkit::test::writeFile(path, {5, 6, 7});
    auto data = NSData::dataWithContentsOfFile(path.string());
    ASSERT_FALSE(data.isError());
    ASSERT_GE(data.value().sealedDescriptor(), 0);
    truncate(path.c_str(), 0);
    EXPECT_EQ(data.value(), NSData::dataWithBytes("\5\6\7", 3));

    auto passed = CreateSealedMemfd(data.value(), "test");
    ASSERT_FALSE(passed.isError());
    struct stat own {};
    struct stat sent {};
    fstat(data.value().sealedDescriptor(), &own);
    fstat(passed.value(), &sent);
    EXPECT_EQ(own.st_ino, sent.st_ino);
    EXPECT_EQ(DataFromFileDescriptor(passed.value()).value(), data.value());
    close(passed.value());

    // Files that are not regular are read to their end; folders are refused.
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    ASSERT_EQ(write(pipeEnds[1], "piped", 5), 5);
    close(pipeEnds[1]);
    auto piped = NSData::dataWithContentsOfFile("/dev/fd/" + std::to_string(pipeEnds[0]));
    close(pipeEnds[0]);
    ASSERT_FALSE(piped.isError());
    EXPECT_EQ(piped.value(), NSData::dataWithBytes("piped", 5));
    EXPECT_EQ(piped.value().sealedDescriptor(), -1);
    auto inFolder = NSData::dataWithContentsOfFile(folder.path().string());
    ASSERT_TRUE(inFolder.isError());
    EXPECT_NE(inFolder.error().message.find("it is a folder"), std::string::npos);
}

} // namespace

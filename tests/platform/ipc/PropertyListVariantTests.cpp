#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gio/gunixfdlist.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

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
        {PropertyValue(
             PropertyDictionary{{"k", PropertyValue(PropertyDictionary{{"n", PropertyValue::real(1)}})}}),
         "a{sv}"},
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
    auto dictionary =
        AdoptVariant(g_variant_new_parsed("{'path': <objectpath '/a'>, 'pair': <(1, 2)>, 'ints': <[1, 2]>, "
                                          "'ok': <'yes'>, 'maybe': <@ms nothing>}"));
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

// Every kind of descriptor a peer can hand over: what is read, how, and what is
// refused; nothing may block beyond the stream timeout.
TEST(FileDescriptorData, EachKindOfDescriptorIsReadInItsWayOrRefused) {
    using namespace std::chrono_literals;
    lxkit::test::TemporaryFolder folder;
    auto path = folder / "movie.bin";
    lxkit::test::writeFile(path, {1, 2, 3, 4});
    auto fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const NSData bytes = NSData::dataWithBytes("\1\2\3\4", 4);
    const NSDataStreamLimits limits{1024, 300ms};

    enum class Read { InPlace, Mapped, Streamed, Refused };
    struct Case {
        const char* name;
        std::function<int()> open; ///< the descriptor; extra ends are closed by `after`
        Read expected;
        const char* reason = "";
    };
    std::vector<int> extraEnds;
    auto pipeWith = [&](std::string content, bool closeWriter) {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        EXPECT_EQ(write(ends[1], content.data(), content.size()), ssize_t(content.size()));
        if (closeWriter)
            close(ends[1]);
        else
            extraEnds.push_back(ends[1]);
        return ends[0];
    };
    const Case cases[] = {
        {"regular file", [&] { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }, Read::InPlace},
        {"regular file open for reading and writing", [&] { return open(path.c_str(), O_RDWR | O_CLOEXEC); },
         Read::InPlace},
        {"sealed memfd", [&] { return CreateSealedMemfd(bytes, "test").value(); }, Read::Mapped},
        {"memfd its sender can still write",
         [&] {
             int fd = memfd_create("unsealed", MFD_CLOEXEC);
             EXPECT_EQ(write(fd, "\1\2\3\4", 4), 4);
             return fd;
         },
         Read::InPlace},
        {"pipe with the movie, writer gone", [&] { return pipeWith("\1\2\3\4", true); }, Read::Streamed},
        {"pipe whose writer stays silent", [&] { return pipeWith("", false); }, Read::Refused, "within"},
        {"pipe that gives too much", [&] { return pipeWith(std::string(2048, 'x'), true); }, Read::Refused,
         "more than"},
        {"FIFO with the movie",
         [&] {
             int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
             int writer = open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
             EXPECT_EQ(write(writer, "\1\2\3\4", 4), 4);
             close(writer);
             return reader;
         },
         Read::Streamed},
        {"FIFO without a writer", [&] { return open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); },
         Read::Refused, "within"},
        {"socket with the movie",
         [&] {
             int ends[2];
             EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
             EXPECT_EQ(send(ends[1], "\1\2\3\4", 4, 0), 4);
             close(ends[1]);
             return ends[0];
         },
         Read::Streamed},
        {"socket whose peer stays silent",
         [&] {
             int ends[2];
             EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
             extraEnds.push_back(ends[1]);
             return ends[0];
         },
         Read::Refused, "within"},
        {"folder", [&] { return open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); },
         Read::Refused, "folder"},
        {"/dev/zero", [&] { return open("/dev/zero", O_RDONLY | O_CLOEXEC); }, Read::Refused,
         "not a regular"},
        {"file open for writing only", [&] { return open(path.c_str(), O_WRONLY | O_CLOEXEC); },
         Read::Refused, "writing only"},
        {"file open for its path only", [&] { return open(path.c_str(), O_PATH | O_CLOEXEC); }, Read::Refused,
         "path"},
        {"no descriptor", [&] { return -1; }, Read::Refused, "descriptor"},
    };
    for (const auto& c : cases) {
        int fd = c.open();
        auto start = std::chrono::steady_clock::now();
        auto data = DataFromFileDescriptor(fd, limits);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 3s) << c.name;
        if (fd >= 0)
            close(fd);
        for (int end : extraEnds)
            close(end);
        extraEnds.clear();
        if (c.expected == Read::Refused) {
            ASSERT_TRUE(data.isError()) << c.name;
            EXPECT_NE(data.error().message.find(c.reason), std::string::npos)
                << c.name << ": " << data.error().message;
            continue;
        }
        ASSERT_FALSE(data.isError()) << c.name << ": " << data.error().message;
        // The data keeps its own descriptor: closing the one handed over changes nothing.
        EXPECT_EQ(data.value(), bytes) << c.name;
        EXPECT_EQ(data.value().fileDescriptor() >= 0, c.expected == Read::InPlace) << c.name;
        EXPECT_EQ(data.value().sealedDescriptor() >= 0, c.expected == Read::Mapped) << c.name;
        EXPECT_EQ(data.value().isInMemory(), c.expected != Read::InPlace) << c.name;
    }

    // A handle that points past the message's descriptors reads as nothing.
    auto handle = AdoptVariant(g_variant_new_handle(3));
    EXPECT_TRUE(PropertyValueFromVariant(handle.get(), nullptr).isNone());
}

TEST(FileDescriptorData, AFileReadInPlaceTravelsAsItselfAndMemfdsWithoutAnotherCopy) {
    lxkit::test::TemporaryFolder folder;
    auto path = folder / "movie.bin";
    lxkit::test::writeFile(path, {5, 6, 7});
    auto data = NSData::dataWithContentsOfFile(path.string());
    ASSERT_FALSE(data.isError());
    ASSERT_GE(data.value().fileDescriptor(), 0);

    // Sent on, the file goes as a descriptor of the same file, whatever its size.
    auto fds = GObjectRef<GUnixFDList>::adopt(g_unix_fd_list_new());
    auto variant = AdoptVariant(VariantFromPropertyValue(PropertyValue(data.value()), fds.get()));
    EXPECT_STREQ(g_variant_get_type_string(variant.get()), "h");
    ASSERT_EQ(g_unix_fd_list_get_length(fds.get()), 1);
    struct stat own {};
    struct stat sent {};
    fstat(data.value().fileDescriptor(), &own);
    fstat(g_unix_fd_list_peek_fds(fds.get(), nullptr)[0], &sent);
    EXPECT_EQ(own.st_ino, sent.st_ino);
    EXPECT_EQ(own.st_dev, sent.st_dev);
    auto received = PropertyValueFromVariant(variant.get(), fds.get());
    ASSERT_TRUE(received.data());
    EXPECT_EQ(*received.data(), data.value());
    EXPECT_GE(received.data()->fileDescriptor(), 0);
    // With nowhere to put a descriptor, its bytes go inline.
    EXPECT_EQ(roundTrip(PropertyValue(data.value())), PropertyValue(NSData::dataWithBytes("\5\6\7", 3)));

    // A sealed memfd goes on as a duplicate of itself.
    auto sealed =
        NSData::dataWithSealedMemfd(CreateSealedMemfd(NSData::dataWithBytes("abc", 3), "t").value(), 3);
    ASSERT_FALSE(sealed.isError());
    auto passed = CreateDescriptorToSend(sealed.value(), "test");
    ASSERT_FALSE(passed.isError());
    fstat(sealed.value().sealedDescriptor(), &own);
    fstat(passed.value(), &sent);
    EXPECT_EQ(own.st_ino, sent.st_ino);
    close(passed.value());
}

} // namespace

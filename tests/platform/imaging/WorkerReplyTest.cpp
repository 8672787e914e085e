#include "platform/imaging/WorkerReply.h"

#include "tests/fakes/TestImage.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <variant>

namespace quillorn {
namespace {

using worker::PlaneReply;
using worker::Reply;
using worker::ReplyKind;

tl::expected<WorkerReply, std::string> read(const Reply& reply, const std::string& rest,
                                            ImageFormat asked = ImageFormat::png) {
    const FileDescriptor file(::memfd_create("reply", MFD_CLOEXEC));
    const std::string bytes(reinterpret_cast<const char*>(&reply), sizeof reply);
    EXPECT_TRUE(writeAll(file, "reply", bytes + rest));
    return readWorkerReply(file, asked, ImageLimits());
}

/// Four pixels of grey.
Reply soundReply() {
    Reply reply;
    reply.kind = ReplyKind::pixels;
    reply.width = 2;
    reply.height = 2;
    reply.colours = PlaneReply{5, 0, 1, 8, 0};
    return reply;
}

TEST(WorkerReply, HandsOnWhatIsSound) {
    const auto reply = read(soundReply(), "bytes");
    ASSERT_TRUE(reply);
    const auto& image = std::get<PackedImage>(*reply->image);
    EXPECT_EQ(image.width, 2U);
    EXPECT_EQ(std::string(image.colours.data.begin(), image.colours.data.end()), "bytes");
    EXPECT_FALSE(image.alpha);
}

TEST(WorkerReply, TellsEachPartFromTheNext) {
    Reply reply = soundReply();
    reply.alpha = PlaneReply{2, 1, 1, 1, 0};
    reply.paletteBytes = 3;
    const std::string profile = tests::hollowProfile("RGB ");
    reply.profileBytes = profile.size();
    const auto read2 = read(reply, "bytesPALaa" + profile);
    ASSERT_TRUE(read2) << read2.error();
    const auto& image = std::get<PackedImage>(*read2->image);
    EXPECT_EQ(std::string(image.palette.begin(), image.palette.end()), "PAL");
    ASSERT_TRUE(image.alpha);
    EXPECT_EQ(std::string(image.alpha->data.begin(), image.alpha->data.end()), "aa");
    EXPECT_EQ(image.iccProfile.size(), profile.size());
}

TEST(WorkerReply, RefusesWhatDoesNotBelongTogether) {
    const std::vector<std::function<void(Reply&)>> damages = {
        [](Reply& reply) { reply.mark[0] = 'x'; },
        [](Reply& reply) { reply.kind = static_cast<ReplyKind>(99); },
        [](Reply& reply) { reply.width = 0; },
        [](Reply& reply) { reply.height = 4'000'000'000U; },
        [](Reply& reply) { reply.width = reply.height = 100'000; },
        [](Reply& reply) { reply.colours.bytes = 6; },
        [](Reply& reply) { reply.colours.bytes = 4; },
        [](Reply& reply) { reply.colours.bytes = ~0ULL; },
        [](Reply& reply) {
            reply.textBytes = ~0ULL;
            reply.paletteBytes = 1;
        },
        [](Reply& reply) { reply.colours.components = 2; },
        [](Reply& reply) { reply.colours.components = 0; },
        [](Reply& reply) { reply.colours.bitsPerComponent = 7; },
        [](Reply& reply) { reply.colours.coding = 2; },
        [](Reply& reply) { reply.colours.coding = 1; },
        [](Reply& reply) {
            reply.colours = PlaneReply{2, 0, 3, 8, 0};
            reply.paletteBytes = 3;
        },
        [](Reply& reply) {
            reply.colours.bytes = 1;
            reply.alpha = PlaneReply{4, 0, 3, 8, 0};
        },
        [](Reply& reply) {
            reply.kind = ReplyKind::drawing;
            reply.drawingBytes = 5;
            reply.colours.bytes = 0;
        },
    };
    for (std::size_t i = 0; i < damages.size(); ++i) {
        Reply reply = soundReply();
        damages[i](reply);
        EXPECT_FALSE(read(reply, "bytes")) << i;
    }
    const FileDescriptor empty(::memfd_create("reply", MFD_CLOEXEC));
    EXPECT_FALSE(readWorkerReply(empty, ImageFormat::png, ImageLimits()));
}

TEST(WorkerReply, ADrawingHasASize) {
    Reply reply;
    reply.kind = ReplyKind::drawing;
    reply.drawingBytes = 5;
    reply.drawingWidth = 10;
    reply.drawingHeight = 20;
    ASSERT_TRUE(read(reply, "%PDF-", ImageFormat::svg));
    for (const double height : {std::numeric_limits<double>::quiet_NaN(), 1e-300, 1e9}) {
        reply.drawingHeight = height;
        EXPECT_FALSE(read(reply, "%PDF-", ImageFormat::svg)) << height;
    }
}

TEST(WorkerReply, IsOfTheKindThatWasAskedFor) {
    EXPECT_FALSE(read(soundReply(), "bytes", ImageFormat::svg));
    Reply drawing;
    drawing.kind = ReplyKind::drawing;
    drawing.drawingBytes = 5;
    drawing.drawingWidth = drawing.drawingHeight = 10;
    EXPECT_FALSE(read(drawing, "%PDF-", ImageFormat::png));
}

TEST(WorkerReply, HasNoMoreBytesThanItsPixelsCanTake) {
    Reply reply = soundReply();
    reply.colours.bytes = 5000;
    EXPECT_FALSE(read(reply, std::string(5000, 'x')));
    reply.height = 4000; // rows of a filter's number and two pixels
    EXPECT_TRUE(read(reply, std::string(5000, 'x')));
    reply.alpha = PlaneReply{7000, 0, 1, 1, 0};
    EXPECT_TRUE(read(reply, std::string(12'000, 'x')));
    reply.alpha.bytes = 13'000;
    EXPECT_FALSE(read(reply, std::string(18'000, 'x')));
}

TEST(WorkerReply, AReasonIsOnePrintableLine) {
    Reply reply;
    reply.kind = ReplyKind::refused;
    reply.textBytes = 9;
    EXPECT_EQ(read(reply, "no\nway\x1B!!")->text, "no way !!");
    reply.textBytes = 0;
    EXPECT_EQ(read(reply, "")->text, "it cannot be read");
}

} // namespace
} // namespace quillorn

// Frames of any bytes: read, described in words, written again.
#include "Expect.h"
#include "omci/message/MessageText.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace omci;
    const DecodedFrame decoded = decodeFrame({data, size});
    FUZZ_EXPECT(nameOf(decoded.error) != nullptr);
    if (decoded.error != FrameError::kNone) return 0;
    const Message& message = decoded.message;
    FUZZ_EXPECT(decoded.protectedSize >= 10);
    const MessageText text = textOf(message);
    FUZZ_EXPECT(!lineOf(text).empty());

    const DecodedContent content = decodeContent(message);
    FUZZ_EXPECT(text.error.empty() == (content.error == ContentError::kNone));
    if (content.error != ContentError::kNone) return 0;
    // What was understood comes back when it is said again.
    Message said = message;
    encodeContent(said, content.content);
    FUZZ_EXPECT(said.content.size() <= kMaxExtendedContent);
    const DecodedContent heard = decodeContent(said);
    FUZZ_EXPECT(heard.error == ContentError::kNone);
    Message again = said;
    encodeContent(again, heard.content);
    FUZZ_EXPECT(again.content == said.content);
    const DecodedFrame frame = decodeFrame(encodeFrame(said));
    FUZZ_EXPECT(frame.error == FrameError::kNone && frame.message.content == said.content);
    return 0;
}

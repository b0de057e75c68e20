#include "fileio/LCWAVParser.h"

#include "ParserFixture.h"

using namespace fixture;

namespace {

LCFileData parsed(const std::vector<Chunk>& chunks) {
  return recordOf("q.wav", wavFile(chunks, 1, 24000, 8, 8000));  // 3 s
}

}  // namespace

TEST(LCWAVParser, AcidChunkOfExactly24BytesDescribesTheLoop) {
  const auto record = parsed({chunk("acid", bytesFromHex("020000003e000080000000000c000200030004000000b442"))});
  EXPECT_EQ(numbersOf(record), "12 62 3 3/4 1");  // the upper half of the beats, 2, is ignored
  EXPECT_EQ(record.bpm, 240.0f);                  // computed; the chunk says 90
  EXPECT_EQ(flagsOf(record), "typed");
  EXPECT_EQ(numbersOf(parsed({chunk("acid", acidPayload(1, 62, 65537, 4, 4, 90))})), "1 0 3 4/4 2")
      << "a one-shot, and no valid root by the flags";
  for (const size_t size : {0u, 23u, 25u, 26u}) {
    Bytes payload = acidPayload(3, 62, 12, 3, 8, 90);
    payload.resize(size);
    const auto other = parsed({chunk("acid", payload)});
    EXPECT_EQ(numbersOf(other).substr(0, 9), "0 0 0 4/4") << size;
    EXPECT_EQ(flagsOf(other), "") << size;
  }
}

TEST(LCWAVParser, AdditionalLoopDataMakesTheFileAuthored) {
  EXPECT_EQ(flagsOf(parsed({chunk("adLD", archiveNamed("additional-all-keys.archive"))})), "authored ");
}

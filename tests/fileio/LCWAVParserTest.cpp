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
  EXPECT_EQ(record.beatCount, 12);  // the upper half of the field, 2, is ignored
  EXPECT_EQ(record.midiRootNote, 62);
  EXPECT_EQ(record.keyType, 3);
  EXPECT_EQ(record.signatureTop, 3);
  EXPECT_EQ(record.signatureBottom, 4);
  EXPECT_EQ(record.fileType, 1);
  EXPECT_EQ(record.bpm, 240.0f);  // computed; the chunk says 90
  EXPECT_TRUE(record.hasLoopTypeChunks);
  EXPECT_FALSE(record.hasAuthoredChunks);

  const auto oneShot = parsed({chunk("acid", acidPayload(1, 62, 65537, 4, 4, 90))});
  EXPECT_EQ(oneShot.fileType, 2);
  EXPECT_EQ(oneShot.midiRootNote, 0);  // not valid by the flags
  EXPECT_EQ(oneShot.beatCount, 1);
}

TEST(LCWAVParser, OtherSizesAreNoAcidChunk) {
  for (const size_t size : {0u, 23u, 25u, 26u}) {
    Bytes payload = acidPayload(3, 62, 12, 3, 8, 90);
    payload.resize(size);
    const auto record = parsed({chunk("acid", payload)});
    EXPECT_EQ(record.signatureTop, 4) << size;
    EXPECT_EQ(record.signatureBottom, 4) << size;
    EXPECT_EQ(record.keyType, 0) << size;
    EXPECT_EQ(record.beatCount, 0) << size;
    EXPECT_FALSE(record.hasLoopTypeChunks) << size;
  }
}

TEST(LCWAVParser, AdditionalLoopDataMakesTheFileAuthored) {
  const auto record = parsed({chunk("adLD", archiveNamed("additional-all-keys.archive"))});
  EXPECT_EQ(record.patchInfo, 2);
  EXPECT_TRUE(record.hasAuthoredChunks);
  EXPECT_FALSE(record.hasLoopTypeChunks);
  EXPECT_FALSE(parsed({}).hasAuthoredChunks);
}

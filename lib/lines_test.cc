#include "lib/lines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

// Pieces carry the line they stand on; a line longer than a piece comes in
// several, and only the first is not a tail. A last line without a line end
// is a line too.
TEST(LinesTest, PiecesKnowTheirLine) {
  ScratchDir dir;
  ASSERT_TRUE(dir.ok());
  dir.Write("f", "a\n" + std::string(2500, 'x') + "\n\n[b] c\nlast");
  OpenFile in(s_fopen(dir.Path("f").c_str(), "r"));
  LineReader reader(in.f);
  std::string seen;
  while (const char* piece = reader.next()) {
    seen += std::to_string(reader.line()) + (reader.tail() ? "t" : "") + ":" +
            std::to_string(std::string(piece).size()) + " ";
  }
  EXPECT_EQ(seen, "1:2 2:999 2t:999 2t:503 3:1 4:6 5:4 ");

  std::vector<SectionHead> heads;
  ASSERT_TRUE(list_sections(dir.Path("f").c_str(), &heads));
  ASSERT_EQ(heads.size(), 1u);
  EXPECT_EQ(heads[0].name, "b] c");
  EXPECT_EQ(heads[0].line, 4);
  EXPECT_FALSE(list_sections(dir.Path("none").c_str(), &heads));
}

}  // namespace
}  // namespace inst

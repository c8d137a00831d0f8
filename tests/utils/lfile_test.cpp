#include "test_utils.h"
#include "utils/lfile.h"
#include "utils/myException.h"

using testutils::TempDir;

TEST(lfile, NamesAndOutput) {
	TempDir d;
	const std::pair < std::string, std::string > cases[3] = { { "a.log", "a.log" }, { "a.txt", "a.txt.log" }, { "a", "a.log" } };
	for (const auto & c : cases) {
		lfile L;
		L.muteC();
		ASSERT_TRUE(L.open(d.file(c.first)));
		EXPECT_EQ(L.name(), d.file(c.second));
		L.close();
	}
	lfile L;
	L.muteC();
	ASSERT_TRUE(L.open(d.file("run1")));
	EXPECT_EQ(L.getPrefix(), d.file("run1"));
	L.println("first");
	L.printC("screen only");
	L.print("a");
	L.printlnL("b");
	L.muteL();
	L.println("hidden");
	L.unmuteL();
	L.warning("careful");
	L.close();
	EXPECT_EQ(d.read("run1.log"), "first\nab\n\nWARNING: careful\n");

	lfile bad;
	EXPECT_FALSE(bad.open(d.file("no/such/dir/x")));
}

TEST(lfile, ErrorEndsTheRun) {
	TempDir d;
	EXPECT_EXIT({
		lfile L;
		L.muteC();
		L.open(d.file("e"));
		dup2(2, 1);
		L.error("broken input");
	}, ::testing::ExitedWithCode(1), "ERROR:.* broken input");
	EXPECT_EQ(d.read("e.log"), "\nERROR: broken input\n");
}

TEST(lfile, ErrorThrowsWhenAskedTo) {
	lfile L;
	L.muteC();
	L.muteL();
	L.exitOnError = false;
	testing::internal::CaptureStdout();
	try {
		L.error("refused input");
		ADD_FAILURE() << "error returned";
	} catch (const myException & e) {
		EXPECT_STREQ(e.what(), "refused input");
	}
	EXPECT_NE(testing::internal::GetCapturedStdout().find("refused input"), std::string::npos);
}

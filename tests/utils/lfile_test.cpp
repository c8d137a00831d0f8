#include "test_utils.h"
#include "utils/lfile.h"

#include <sstream>

using testutils::TempDir;

// ".log" added unless named so; log and screen outputs. A log opened for later holds its lines: a failure before start() writes no file unless kept.
TEST(lfile, NamesOutputAndHeldLines) {
	TempDir d;
	for (const auto & c : { std::make_pair("a.log", "a.log"), std::make_pair("a.txt", "a.txt.log") }) {
		lfile L;
		L.muteC();
		ASSERT_TRUE(L.open(d.file(c.first)));
		EXPECT_EQ(L.name(), d.file(c.second));
	}
	lfile L;
	L.muteC();
	ASSERT_TRUE(L.open(d.file("run1"), false));
	L.println("first");
	EXPECT_FALSE(testutils::exists(d.file("run1.log")));
	ASSERT_TRUE(L.start());
	EXPECT_EQ(L.getPrefix(), d.file("run1"));
	L.printC("screen only");
	L.print("a");
	L.printlnL("b");
	L.muteL();
	L.println("hidden");
	L.unmuteL();
	L.warning("careful");
	L.close();
	EXPECT_EQ(d.read("run1.log"), "first\nab\n\nWARNING: careful\n");
	EXPECT_FALSE(lfile().open(d.file("no/such/dir/x")));
	for (bool keep : { true, false }) EXPECT_EXIT({
		lfile E;
		E.muteC();
		E.open(d.file(keep ? "kept" : "dropped"), false);
		E.keepOnError = keep;
		E.println("checks");
		E.error("broken input");
	}, ::testing::ExitedWithCode(1), "^\nERROR: broken input\n$");
	EXPECT_EQ(d.read("kept.log"), "checks\n\nERROR: broken input\n");
	EXPECT_FALSE(testutils::exists(d.file("dropped.log")));
}

// Off a terminal: no colour, and a line rewritten with "\r" shows only its last state, whether "\r" comes before or after the text.
TEST(lfile, PlainScreenOffTerminal) {
	lfile L;
	L.muteL();
	std::ostringstream screen;
	L.screen = &screen;
	L.terminal = false;
	L.printlnC("\nMODE \033[33m-phase\033[0m : PHASING");
	for (int i = 1 ; i <= 3 ; i ++) L.printC("\rMain iteration [" + std::to_string(i) + "/3]");
	L.println("");
	for (int i = 0 ; i <= 2 ; i ++) L.printC("Correcting [" + std::to_string(i) + "/2]\r");
	L.printlnC("");
	L.printC("cut short");
	L.close();
	EXPECT_EQ(screen.str(), "\nMODE -phase : PHASING\nMain iteration [3/3]\nCorrecting [2/2]\ncut short\n");
}

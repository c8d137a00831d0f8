#include "test_utils.h"
#include "utils/ifile.h"
#include "utils/ofile.h"
#include "utils/output_set.h"

#include <cstdio>
#include <cstdlib>
#include <set>

using testutils::TempDir;

static std::string makeText(int lines) {
	std::string s;
	for (int i = 0 ; i < lines ; i ++) s += "line " + std::to_string(i) + "\tvalue " + std::to_string(i * 7) + "\n";
	return s;
}

static std::string readAll(const std::string & name) {
	ifile f;
	EXPECT_TRUE(f.open(name));
	std::string line, all;
	while (getline(f, line)) all += line + "\n";
	f.close();
	return all;
}

// The compression of an input is told by its first bytes, whatever its name.
TEST(streams, RoundTripsPlainGzipBzip2) {
	TempDir d;
	std::string text = makeText(20000);
	for (std::string name : { "a.txt", "a.gz", "a.bz2" }) {
		testutils::writeCompressed(d.file(name), text);
		EXPECT_EQ(readAll(d.file(name)), text) << name;
	}
	for (const auto & m : std::vector < std::pair < std::string, std::string > > { { "plain.gz", text }, { "gzip.txt", d.read("a.gz") }, { "bzip2.gz", d.read("a.bz2") } }) {
		d.write(m.first, m.second);
		EXPECT_EQ(readAll(d.file(m.first)), text) << m.first;
	}
	// A pipe cannot be rewound after its first bytes are read.
	ASSERT_EQ(system(("cd " + d.path + " && mkfifo pipe && (cat a.gz > pipe &)").c_str()), 0);
	EXPECT_EQ(readAll(d.file("pipe")), text);
	// Compressed files really are compressed.
	EXPECT_EQ(d.read("a.gz").substr(0, 2), "\x1f\x8b");

	// Length-prefixed strings, as in the binary graph files.
	for (std::string name : { "s.bin", "s.gz" }) {
		std::vector < std::string > strings = { "first", "", "third one" };
		ofile o(d.file(name), true);
		for (std::string & t : strings) o.writeString(t);
		o.close();
		ifile i(d.file(name), true);
		std::string r;
		for (const std::string & t : strings) EXPECT_TRUE(i.readString(r) && r == t) << t;
		EXPECT_FALSE(i.readString(r));
	}
}

TEST(streams, BrokenCompressedFilesFail) {
	TempDir d;
	std::string text = makeText(50000);
	testutils::writeCompressed(d.file("full.gz"), text);
	testutils::writeCompressed(d.file("full.bz2"), text);
	const std::string gz = d.read("full.gz"), bz = d.read("full.bz2");
	d.write("half.gz", gz.substr(0, gz.size() / 2));
	d.write("notrailer.gz", gz.substr(0, gz.size() - 4));
	d.write("half.bz2", bz.substr(0, bz.size() / 2));
	for (std::string name : { "half.gz", "notrailer.gz", "half.bz2" }) {
		ifile f;
		ASSERT_TRUE(f.open(d.file(name))) << name;
		std::string line;
		int n = 0;
		EXPECT_THROW({ while (getline(f, line)) n ++; }, std::ios_base::failure) << name;
		EXPECT_LT(n, 50000) << name;
	}
	ifile missing;
	EXPECT_FALSE(missing.open(d.file("nothere.gz")));
	EXPECT_FALSE(missing.open(d.file("nothere.txt")));
	EXPECT_FALSE(missing.open(d.path));
}

// An output gets its name when closed; until then, or if never closed, the name holds
// what it held before.
TEST(streams, OutputAppearsOnlyWhenClosed) {
	std::string text = makeText(3000);
	for (std::string name : { "a.txt", "a.gz" }) {
		TempDir d;
		{
			ofile o(d.file(name));
			o << text;
			EXPECT_EQ(d.files().size(), 1u) << name;
			EXPECT_FALSE(d.files().count(name)) << name;
		}
		EXPECT_TRUE(d.files().empty()) << name;

		d.write(name, "previous");
		{
			ofile o(d.file(name));
			o << text;
		}
		EXPECT_EQ(d.read(name), "previous") << name;

		ofile o(d.file(name));
		o << text;
		o.close();
		EXPECT_EQ(d.files(), std::set < std::string > { name });
		EXPECT_EQ(readAll(d.file(name)), text) << name;

		// Among the outputs of a run, a closed file waits for them all: a failed run discards it.
		OUTPUTS.deferred = true;
		for (bool commit : { false, true }) {
			ofile n(d.file(name));
			n << "new\n";
			n.close();
			EXPECT_EQ(readAll(d.file(name)), text) << name;
			std::string failed;
			if (commit) EXPECT_TRUE(OUTPUTS.commit(failed));
			else OUTPUTS.discard();
			EXPECT_EQ(d.files().size(), 1u) << name;
		}
		OUTPUTS.deferred = false;
		EXPECT_EQ(readAll(d.file(name)), "new\n") << name;
	}
}

TEST(streams, FailedWriteEndsTheRun) {
	TempDir d;
	// A link is written in place: through this one a few compressed bytes meet the full
	// device only when the compressor's end is flushed.
	ASSERT_EQ(symlink("/dev/full", d.file("full.gz").c_str()), 0);
	for (std::string name : { std::string("/dev/full"), d.file("full.gz") })
		for (std::string text : { std::string("few"), makeText(50000) })
			EXPECT_LOG_ERROR({ ofile o(name); o << text; o.close(); }, "Writing to file \\[" + name + "\\] failed: No space left on device");
}

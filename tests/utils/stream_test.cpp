#include "test_utils.h"
#include "utils/ifile.h"
#include "utils/ofile.h"
#include "utils/output_set.h"

#include <cstdlib>

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
	return all;
}

// The compression of an input is told by its first bytes, whatever its name, from a pipe too, which cannot be rewound; a compressed file cut short fails.
TEST(streams, CompressionToldByFirstBytesAndBrokenFilesFail) {
	TempDir d;
	const std::string text = makeText(50000);
	for (std::string name : { "a.gz", "a.bz2" }) testutils::writeCompressed(d.file(name), text);
	for (const auto & m : std::vector < std::pair < std::string, std::string > > { { "plain.gz", text }, { "gzip.txt", d.read("a.gz") }, { "bzip2.gz", d.read("a.bz2") } }) {
		d.write(m.first, m.second);
		EXPECT_EQ(readAll(d.file(m.first)), text) << m.first;
	}
	ASSERT_EQ(system(("cd " + d.path + " && mkfifo pipe && (cat a.bz2 > pipe &)").c_str()), 0);
	EXPECT_EQ(readAll(d.file("pipe")), text);

	const std::string gz = d.read("a.gz"), bz = d.read("a.bz2");
	for (const auto & c : std::vector < std::pair < std::string, std::string > > { { "half.gz", gz.substr(0, gz.size() / 2) },
		{ "notrailer.gz", gz.substr(0, gz.size() - 4) }, { "half.bz2", bz.substr(0, bz.size() / 2) } }) {
		d.write(c.first, c.second);
		ifile f;
		ASSERT_TRUE(f.open(d.file(c.first))) << c.first;
		std::string line;
		int n = 0;
		EXPECT_THROW({ while (getline(f, line)) n ++; }, std::ios_base::failure) << c.first;
		EXPECT_LT(n, 50000) << c.first;
	}
	ifile missing;
	for (std::string name : { d.file("nothere.gz"), d.file("nothere.txt"), d.path }) EXPECT_FALSE(missing.open(name)) << name;
}

// An output gets its name when closed; until then, or if never closed, the name holds what it held before.
TEST(streams, OutputAppearsOnlyWhenClosed) {
	const std::string text = makeText(3000);
	for (std::string name : { "a.txt", "a.gz" }) {
		TempDir d;
		d.write(name, "previous");
		{
			ofile o(d.file(name));
			o << text;
			EXPECT_EQ(d.files().size(), 2u) << name;
		}
		EXPECT_EQ(d.files(), std::set < std::string > { name });
		EXPECT_EQ(d.read(name), "previous") << name;

		ofile o(d.file(name));
		o << text;
		o.close();
		EXPECT_EQ(readAll(d.file(name)), text) << name;
		EXPECT_EQ(d.read(name).substr(0, 2) == "\x1f\x8b", name == "a.gz");

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
	// A link is written in place: through this one a few compressed bytes meet the full device only when the compressor's end is flushed.
	ASSERT_EQ(symlink("/dev/full", d.file("full.gz").c_str()), 0);
	for (std::string name : { std::string("/dev/full"), d.file("full.gz") })
		for (std::string text : { std::string("few"), makeText(50000) })
			EXPECT_LOG_ERROR({ ofile o(name); o << text; o.close(); }, "Writing to file \\[" + name + "\\] failed: No space left on device");
}

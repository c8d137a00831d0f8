#include "test_utils.h"
#include "utils/ifile.h"
#include "utils/ofile.h"
#include "utils/output_set.h"

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
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

static std::set < std::string > listFolder(const std::string & path) {
	std::set < std::string > names;
	DIR * dir = opendir(path.c_str());
	for (dirent * e = readdir(dir) ; e ; e = readdir(dir)) if (std::string(e->d_name) != "." && std::string(e->d_name) != "..") names.insert(e->d_name);
	closedir(dir);
	return names;
}

static void truncateFile(const std::string & from, const std::string & to, size_t keep) {
	std::ifstream in(from.c_str(), std::ios::binary);
	std::string data((std::istreambuf_iterator < char > (in)), std::istreambuf_iterator < char > ());
	std::ofstream out(to.c_str(), std::ios::binary);
	out.write(data.data(), std::min(keep, data.size()));
}

TEST(streams, RoundTripsPlainGzipBzip2) {
	TempDir d;
	std::string text = makeText(20000);
	for (std::string name : { "a.txt", "a.gz", "a.bz2" }) {
		testutils::writeCompressed(d.file(name), text);
		EXPECT_EQ(readAll(d.file(name)), text) << name;
	}
	// Compressed files really are compressed.
	std::ifstream gz(d.file("a.gz").c_str(), std::ios::binary);
	EXPECT_EQ(gz.get(), 0x1f);
	EXPECT_EQ(gz.get(), 0x8b);

	// Length-prefixed strings, as in the binary graph files.
	for (std::string name : { "s.bin", "s.gz" }) {
		ofile o(d.file(name), true);
		std::string a = "first", b = "", c = "third one";
		o.writeString(a);
		o.writeString(b);
		o.writeString(c);
		o.close();
		ifile i(d.file(name), true);
		std::string r;
		ASSERT_TRUE(i.readString(r)); EXPECT_EQ(r, "first");
		ASSERT_TRUE(i.readString(r)); EXPECT_EQ(r, "");
		ASSERT_TRUE(i.readString(r)); EXPECT_EQ(r, "third one");
		EXPECT_FALSE(i.readString(r));
	}
}

TEST(streams, MultiMemberGzipReadsWhole) {
	TempDir d;
	std::string part1 = makeText(3000), part2 = makeText(5000);
	testutils::writeCompressed(d.file("p1.gz"), part1);
	testutils::writeCompressed(d.file("p2.gz"), part2);
	// bgzip writes a file as a series of gzip members; concatenating two members is the same shape.
	std::string cmd = "cat " + d.file("p1.gz") + " " + d.file("p2.gz") + " > " + d.file("both.gz");
	ASSERT_EQ(system(cmd.c_str()), 0);
	EXPECT_EQ(readAll(d.file("both.gz")), part1 + part2);
}

TEST(streams, BrokenCompressedFilesFail) {
	TempDir d;
	std::string text = makeText(50000);
	testutils::writeCompressed(d.file("full.gz"), text);
	testutils::writeCompressed(d.file("full.bz2"), text);
	std::ifstream g(d.file("full.gz").c_str(), std::ios::binary | std::ios::ate);
	size_t gz_size = g.tellg();
	std::ifstream b(d.file("full.bz2").c_str(), std::ios::binary | std::ios::ate);
	size_t bz_size = b.tellg();

	truncateFile(d.file("full.gz"), d.file("half.gz"), gz_size / 2);
	truncateFile(d.file("full.gz"), d.file("notrailer.gz"), gz_size - 4);
	truncateFile(d.file("full.bz2"), d.file("half.bz2"), bz_size / 2);
	d.write("plain.gz", text);
	for (std::string name : { "half.gz", "notrailer.gz", "half.bz2", "plain.gz" }) {
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
			EXPECT_EQ(listFolder(d.path).size(), 1u) << name;
			EXPECT_FALSE(listFolder(d.path).count(name)) << name;
		}
		EXPECT_TRUE(listFolder(d.path).empty()) << name;

		d.write(name, "previous");
		{
			ofile o(d.file(name));
			o << text;
		}
		EXPECT_EQ(d.read(name), "previous") << name;

		ofile o(d.file(name));
		o << text;
		o.close();
		EXPECT_EQ(listFolder(d.path), std::set < std::string > { name });
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
			EXPECT_EQ(listFolder(d.path).size(), 1u) << name;
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

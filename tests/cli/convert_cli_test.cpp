#include "cli/example_subset.h"

using namespace testutils;

namespace {

// Phases the example subset into a.haps/a.sample and a.graph; the positions of the sites.
std::vector < int > phaseWithGraphs(const TempDir & d) {
	exsubset::writeSubset(d);
	exsubset::phaseSubset(d, "--input-ped " + exsubset::E + "/cohort --thread 1 --seed 5 --no-rare-phasing --output-graph a.graph", "a");
	std::vector < int > p;
	for (const std::string & l : lines(d.read("a.haps"))) p.push_back(std::stoi(words(l)[2]));
	return p;
}

const std::string small_sample = "ID_1 ID_2 missing\n0 0 0\nF1 S1 0\nF2 S2 0\nF3 S3 0\n";
const std::string small_haps = "1 rs1 100 A G 0 1 1 1 0 0\n1 rs2 200 C T 1 0 0 1 1 1\n1 rs3 300 G A 0 0 1 0 0 1\n1 rs4 400 T C 1 1 0 0 1 0\n";

}

// Damaged graphs stop the run before any output; whole ones give back the run's haplotypes.
TEST(cli_convert, FromGraphs) {
	TempDir d;
	std::vector < int > p = phaseWithGraphs(d);
	ASSERT_GT(p.size(), 40u);
	const std::string graph = d.read("a.graph"), window = " " + std::to_string(p[1]) + " " + std::to_string(p[2]) + "\n";
	std::string flipped = graph;
	flipped[graph.size() / 2] ^= 0x10;
	d.write("sets", "w1" + window);
	for (const auto & c : std::vector < std::pair < std::string, std::string > > {
		{ flipped, "Graph file [b.graph] is corrupted: its checksum does not match its content" },
		{ graph.substr(0, graph.size() - 1), "Graph file [b.graph] ends inside its checksum: the file is truncated" },
		{ graph + "\n", "Graph file [b.graph] goes on after its checksum" },
		{ graph.substr(0, graph.size() / 2), "Graph file [b.graph], graph " } }) {
		d.write("b.graph", c.first);
		EXPECT_TRUE(refused(runSorvane("-convert --input-graph b.graph --input-sets sets --output-max m -L c", d.path), c.second));
		EXPECT_FALSE(exists(d.file("m.haps")) || exists(d.file("m.sample")) || exists(d.file("w1.pairs.gz"))) << c.second;
	}
	d.write("sets", "w1" + window + "\nnodir/w2" + window);
	RunResult r = runSorvane("-convert --input-graph a.graph --input-sets sets --replicate 5 -L c", d.path);
	EXPECT_TRUE(refused(r, "The table nodir/w2.pairs.gz of window nodir/w2 is impossible to create, check writing permissions\n"));
	EXPECT_FALSE(has(r.out, "Sampling haplotypes") || exists(d.file("w1.pairs.gz")));
	ASSERT_TRUE(succeeded(runSorvane("-convert --input-graph a.graph --output-max m.haps.gz m.sample --output-sample s --output-vcf v.vcf --output-haps h --thread 2 --seed 1 --no-rare-phasing -L c", d.path)));
	EXPECT_EQ(d.read("m.sample"), d.read("a.sample"));
	const exsubset::Haplotypes a(d.file("a"));
	d.write("u.haps", readCompressed(d.file("m.haps.gz")));
	d.write("u.sample", d.read("m.sample"));
	const exsubset::Haplotypes m(d.file("u"));
	ASSERT_EQ(m.alleles.size(), a.alleles.size());
	int swapped = 0, other = 0;
	for (const auto & s : a.alleles) for (unsigned int k = 0 ; k < s.second.size() ; k += 2) {
		const std::vector < int > & x = m.alleles.at(s.first);
		if (x[k] == s.second[k] && x[k + 1] == s.second[k + 1]) continue;
		(x[k] == s.second[k + 1] && x[k + 1] == s.second[k] ? swapped : other) ++;
	}
	EXPECT_TRUE(swapped < 20 && other == 0) << swapped << " " << other;
	EXPECT_EQ(exsubset::checkPhased(d, "s"), (int)a.alleles.size());
	EXPECT_EQ(runOk("bcftools query -f '[%GT]\\n' v.vcf | tr -d '|'", d.path), runOk("cut -d ' ' -f 6- u.haps | tr -d ' '", d.path));
	const std::pair < int, int > rated = exsubset::confidenceFaults(d, "v.vcf");
	EXPECT_TRUE(rated.first == 0 && rated.second > 1000) << rated.first << " " << rated.second;
	EXPECT_TRUE(has(d.read("c.log"), "WARNING: Options --output-haps and --output-ref cannot be used when specifying --input-graph\n"));
	EXPECT_FALSE(exists(d.file("h.haps")) || exists(d.file("h.sample")));
	auto pos = [&](int k) { return " " + std::to_string(p[k]); };
	d.write("sets", "w1" + pos(10) + pos(11) + "\nw2" + pos(30) + pos(20) + pos(25) + "\nw3" + pos(1) + pos(2) + pos(3) + pos(40) + "\n");
	ASSERT_TRUE(succeeded(runSorvane("-convert --input-graph a.graph --input-sets sets --replicate 60 --thread 2 --seed 4 -L c", d.path)));
	for (const auto & w : std::map < std::string, unsigned int > { { "w1", 2 }, { "w2", 3 }, { "w3", 4 } }) {
		std::vector < std::string > freqs = lines(readCompressed(d.file(w.first + ".freqs.gz")));
		ASSERT_TRUE(freqs.size() >= 1u && freqs.size() <= 1u << w.second) << w.first;
		double sum = 0.0;
		std::set < std::string > seen;
		for (unsigned int k = 0 ; k < freqs.size() ; k ++) {
			std::vector < std::string > t = words(freqs[k]);
			ASSERT_EQ(t.size(), 3u);
			EXPECT_TRUE(t[0] == std::to_string(k) && t[1].size() == w.second && seen.insert(t[1]).second) << freqs[k];
			sum += std::stod(t[2]);
		}
		EXPECT_NEAR(sum, 1.0, 1e-4) << w.first;
		std::map < int, double > total;
		std::map < int, int > types, next;
		for (const std::string & l : lines(readCompressed(d.file(w.first + ".pairs.gz")))) {
			std::vector < std::string > t = words(l);
			int ind = std::stoi(t[0]), type = std::stoi(t[1]);
			ASSERT_EQ(t.size(), 7u + type) << l;
			EXPECT_TRUE(std::stoi(t[5]) == next[ind] ++ && t[6].size() == 7u) << l;
			total[ind] += std::stod(t[6]);
			types[type] += std::stoi(t[5]) == 0;
			for (int k = 7 ; k < 7 + type ; k ++) EXPECT_LT(std::stoul(t[k]), freqs.size()) << l;
		}
		EXPECT_EQ(total.size(), 19u) << w.first;
		for (const auto & x : total) EXPECT_NEAR(x.second, 1.0, 5e-5) << w.first << " record " << x.first;
		EXPECT_EQ(types, (std::map < int, int > { { 2, 16 }, { 3, 2 }, { 4, 1 } })) << w.first;
	}
	ASSERT_TRUE(succeeded(runSorvane("-convert --input-graph a.graph --input-sets sets --replicate 0 -L c0", d.path)));
	for (std::string w : { "w1", "w2", "w3" }) for (std::string suffix : { ".pairs.gz", ".freqs.gz" })
		EXPECT_EQ(readCompressed(d.file(w + suffix)), "") << w << suffix;
}

// A run whose last output fails replaces none of the files before it.
TEST(cli_convert, Checks) {
	TempDir d;
	d.write("in.haps", small_haps);
	d.write("in.sample", small_sample);
	d.write("g.graph", "not read");
	d.write("keep.haps", "kept\n");
	const std::string one_input = "You must specify exactly one input file with --input-graph or --input-haps", graph_out = "You must specify at least one output file with --output-max, --output-vcf, --output-sample or --input-sets", cannot = " is impossible to open, check file existence or reading permissions";
	std::vector < Row > refusals;
	for (const auto & c : std::vector < std::pair < std::string, std::string > > {
		{ "--output-haps o", one_input },
		{ "--input-haps in --input-graph g.graph --output-haps o", one_input },
		{ "--input-graph g.graph", graph_out },
		{ "--input-graph g.graph --output-haps o", graph_out },
		{ "--input-haps in --output-max o", "You must specify at least one output file with --output-haps or --output-ref or --output-vcf" },
		{ "--input-graph g.graph g.graph --output-max o", "Incorrect number of arguments given to --input-graph" },
		{ "--input-haps in.haps in.sample in.haps --output-haps o", "Incorrect number of arguments given to --input-haps(it must be 2 files)" },
		{ "--input-graph g.graph --output-max a b c", "Incorrect number of arguments given to --output-max" },
		{ "--input-graph g.graph --output-sample a b c", "Incorrect number of arguments given to --output-sample" },
		{ "--input-haps in --output-haps a b c", "Incorrect number of arguments given to --output-haps" },
		{ "--input-haps in --output-ref a b", "Incorrect number of arguments given to --output-ref" },
		{ "--input-graph missing.graph --output-max o", "missing.graph" + cannot },
		{ "--input-graph g.graph --input-sets nosets --output-max o", "nosets" + cannot },
		{ "--input-haps in.haps --output-haps o", "in.haps.haps" + cannot },
		{ "--input-haps in --output-vcf nodir/o.vcf", "nodir/o.vcf is impossible to create, check writing permissions" },
		{ "--input-haps in --output-ref nodir/r", "nodir/r.haplotypes is impossible to create, check writing permissions" },
		{ "--input-graph g.graph --input-sets g.graph --replicate -1", "You must specify a --replicate value of at least 0" },
		{ "--input-haps in --output-vcf ./in.sample", "The output file [./in.sample] of --output-vcf is an input file of --input-haps: writing it would replace the input" },
		{ "--input-haps in --output-haps o --output-ref o --output-vcf o.sample", "The output file [o.sample] is written by both --output-haps and --output-vcf" },
		{ "--input-haps in --output-haps keep --output-vcf /dev/full", "Writing to file [/dev/full] failed: No space left on device" },
	}) refusals.push_back(Row { c.first, 1, "ERROR: " + c.second + "\n", has(c.first, "full") ? "" : "Reading" });
	expectRows(std::string(SORVANE_BIN) + " -convert -L c", d, refusals);
	EXPECT_EQ(d.read("keep.haps"), "kept\n");
}

#include "modes/sorvane.h"
#include "input/vcf_lines.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "output/haplotype_writer.h"
#include "output/prob_writer.h"
#include "test_utils.h"
#include "utils/sutils.h"

using testutils::TempDir;

namespace {

typedef std::vector < std::string > fields;

// A trio whose child stands before his parents in input order, a duo whose father is not in the main panel, a haploid individual placed before an unrelated
// one in vecG but after it in input order, and an unrelated individual excluded by the output filter. Six sites: plain, six-column GEN, VCF with three
// properties (and header lines), from plink files (reference allele second) with two properties, one excluded by position and one outside the window.
struct Cohort {
	snp_set sites;
	genhap_set set;
	filter_writer filter;

	Cohort() {
		const fields ids = { "rs1", "rs2", "rs3", "rs4", "rs5", "rs6" }, a0 = { "A", "G", "A", "C", "A", "G" }, a1 = { "C", "T", "G", "T", "T", "C" };
		const int source[6] = { 3, 4, 5, 3, 3, 3 }, bp[6] = { 100, 200, 300, 400, 500, 900 };
		const std::vector < fields > properties = { {}, { "x2" }, { "50", "q10", "AC=3;DP=4;AN=9;F" }, { "a", "b" }, {}, {} };
		for (int l = 0 ; l < 6 ; l ++) {
			snp * s = new snp("1", bp[l], a0[l], a1[l], source[l]);
			s->id = ids[l];
			s->properties = properties[l];
			s->ref_a1 = l == 3;
			sites.put(s);
		}
		sites.vcf_header = { "##contig=<ID=1,length=1000,assembly=b38>", "##INFO=<ID=AC,Number=A,Type=Integer,Description=\"Count\">" };
		std::vector < genotype_graph * > graphs;
		auto graph = [&](int type, std::string name, int index, fields p) {
			genotype_graph * g = new genotype_graph(type, graphs.size());
			g->pushChild(name, index, p);
			graphs.push_back(g);
			return g;
		};
		auto parents = [](genotype_graph * g, std::string f, bool fmain, int findex, std::string m, int mindex, fields fp, fields mp) {
			g->pushFather(f, fmain, findex, fp);
			g->pushMother(m, true, mindex, mp);
		};
		parents(graph(4, "c1", 0, { "fam1", "0", "f1", "m1", "1" }), "f1", true, 1, "m1", 2, { "fam1", "0", "0", "0", "1" }, { "fam1", "0", "0", "0", "2" });
		parents(graph(3, "c2", 4, { "fam2", "0", "f2", "m2", "2" }), "f2", false, -1, "m2", 3, { "fam2", "0", "0", "0", "1" }, { "fam2", "0", "0", "0", "2" });
		graph(1, "h1", 6, { "fam4", "0" });
		graph(2, "u1", 7, { "fam5", "0", "0", "0", "1" });
		graph(2, "u2", 5, { "fam3", "0", "0", "0", "1" });
		set.initialise(graphs, &sites);
		// Haplotypes in vecH order: trio tracks 0-3, duo tracks 0-2, haploid, u1, u2.
		const fields haps = { "100100", "010000", "001000", "110000", "011000", "101000", "111000", "010111", "111111", "111111", "000100", "100000" };
		for (unsigned int h = 0 ; h < haps.size() ; h ++) for (int l = 0 ; l < 6 ; l ++) set.vecH[h].set(l, haps[h][l] == '1');
		filter.ind_exclude["u1"] = true;
		filter.snp_exclude[500] = true;
		filter.setR(800);
	}
};

const std::string header1 = "ID_1 ID_2 missing father mother sex", header2 = "0 0 0 D D D";
// Columns: c1 (h0 h3), f1 (h0 h1), m1 (h3 h2), m2 (h4 h5), c2 (h4 h6), u2 (h10 h11), h1 (h7 h7).
const std::string samples = "fam1 c1 0 f1 m1 1\nfam1 f1 0 0 0 1\nfam1 m1 0 0 0 2\nfam2 m2 0 0 0 2\nfam2 c2 0 f2 m2 2\nfam3 u2 0 0 0 1\nfam4 h1 0\n";
const fields digits = { "1 1 1 0 1 0 0 1 0 1 0 1 0 0", "0 1 0 1 1 0 1 0 1 1 0 0 1 1", "0 0 0 0 0 1 1 1 1 1 0 0 0 0", "1 0 1 0 0 0 0 0 0 0 1 0 1 1" };

// The VCF genotypes of a line of digits, inverted for a site whose REF is its second allele; the last sample is haploid.
std::string bars(const std::string & d, bool swap = false) {
	std::string s;
	for (unsigned int k = 0 ; k < d.size() ; k += 4) s += "\t" + std::string(1, d[k] ^ swap) + (k + 4 < d.size() ? "|" + std::string(1, d[k + 2] ^ swap) : "");
	return s;
}

}

TEST(haplotype_writer, FormatsWithFilters) {
	testutils::silenceLog();
	Cohort c;
	TempDir d;
	haplotype_writer W(c.filter, c.set, header1, header2, false);
	W.writeHaplotypeHap(d.file("o.haps"), d.file("o.sample"));
	W.writeHaplotypeRef(d.file("o.hap"), d.file("o.legend"), d.file("o.samples"));
	START_DATE = 86400 * 365;
	work_queue one(1), two(2);
	W.writeHaplotypeVcf(d.file("o.vcf"), false, false, false, one);

	EXPECT_EQ(d.read("o.sample"), header1 + "\n" + header2 + "\n" + samples);
	EXPECT_EQ(d.read("o.haps"), "1 rs1 100 A C " + digits[0] + "\n1 rs2 x2 200 G T " + digits[1] + "\n1 rs3 300 A G " + digits[2] + "\n1 rs4 400 C T " + digits[3] + "\n");
	EXPECT_EQ(d.read("o.samples") + d.read("o.legend") + d.read("o.hap"), header1 + "\n" + samples + "id position a0 a1\nrs1 100 A C\nrs2 200 G T\nrs3 300 A G\nrs4 400 C T\n"
		+ digits[0] + "\n" + digits[1] + "\n" + digits[2] + "\n" + digits[3] + "\n");
	// The input's header lines as they were, then what they left out; AC and AN counted on the written genotypes.
	EXPECT_EQ(d.read("o.vcf"), "##fileformat=VCFv4.2\n##fileDate=" + sutils::date2str(&START_DATE, "%Y%m%d") + "\n##source=SORVANE2.v904\n##log_file=" + LOG.name() + "\n"
		"##contig=<ID=1,length=1000,assembly=b38>\n##INFO=<ID=AC,Number=A,Type=Integer,Description=\"Count\">\n##FILTER=<ID=q10,Description=\"As in the input\">\n"
		"##INFO=<ID=DP,Number=.,Type=String,Description=\"As in the input\">\n##INFO=<ID=AN,Number=1,Type=Integer,Description=\"Total number of alleles in called genotypes\">\n"
		"##INFO=<ID=F,Number=0,Type=Flag,Description=\"As in the input\">\n##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Phased Genotype\">\n#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tc1\tf1\tm1\tm2\tc2\tu2\th1\n"
		"1\t100\trs1\tA\tC\t.\tPASS\t.\tGT" + bars(digits[0]) + "\n1\t200\trs2\tG\tT\t.\tPASS\t.\tGT" + bars(digits[1]) + "\n"
		"1\t300\trs3\tA\tG\t50\tq10\tAC=5;DP=4;AN=13;F\tGT" + bars(digits[2]) + "\n1\t400\trs4\tT\tC\t.\tPASS\t.\tGT" + bars(digits[3], true) + "\n");

	// BGZF and BCF, compressed on two threads, each with its index, read back to the same lines (the BCF header gains the PASS filter and drops nothing).
	W.writeHaplotypeVcf(d.file("o.vcf.gz"), false, false, false, two);
	W.writeHaplotypeVcf(d.file("o.bcf"), false, false, false, two);
	EXPECT_TRUE(testutils::exists(d.file("o.vcf.gz.tbi")) && testutils::exists(d.file("o.bcf.csi")));
	for (std::string name : { "o.vcf.gz", "o.bcf" }) {
		vcf_lines in;
		ASSERT_TRUE(in.open(d.file(name)));
		std::string line, data;
		while (in.next(line)) if (line.compare(0, 2, "##") != 0) data += line + "\n";
		const std::string text = d.read("o.vcf");
		EXPECT_EQ(data, text.substr(text.find("#CHROM"))) << name;
	}

	// A known phase of u2 at site 3, against its columns there, turns them from site 0 on.
	known_phase k { std::vector < bool > (6, false), std::vector < bool > (6, false), std::vector < bool > (6, false) };
	k.known[3] = k.hap1[3] = true;
	W.orient({ { "u2", k } });
	W.writeHaplotypeHap(d.file("k.haps"), d.file("k.sample"));
	EXPECT_EQ(d.read("k.haps"), "1 rs1 100 A C 1 1 1 0 1 0 0 1 0 1 1 0 0 0\n1 rs2 x2 200 G T " + digits[1] + "\n1 rs3 300 A G " + digits[2] + "\n1 rs4 400 C T 1 0 1 0 0 0 0 0 0 0 0 1 1 1\n");

	// Children skipped; a window without sites leaves files of headers only.
	haplotype_writer P(c.filter, c.set, header1, header2, true);
	c.filter.setL(850);
	P.writeHaplotypeHap(d.file("p.haps"), d.file("p.sample"));
	P.writeHaplotypeVcf(d.file("p.vcf"), false, false, false, one);
	EXPECT_EQ(d.read("p.sample"), header1 + "\n" + header2 + "\nfam1 f1 0 0 0 1\nfam1 m1 0 0 0 2\nfam2 m2 0 0 0 2\nfam3 u2 0 0 0 1\nfam4 h1 0\n");
	EXPECT_EQ(d.read("p.haps"), "");
	const std::string vcf = d.read("p.vcf");
	EXPECT_EQ(vcf.substr(vcf.find("#CHROM")), "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tf1\tm1\tm2\tu2\th1\n");
}

// One column per graph whose own sample passes, in vecG order; parents have none.
TEST(prob_writer, Table) {
	Cohort c;
	TempDir d;
	std::vector < std::vector < float > > probs(5, std::vector < float > (6));
	for (int i = 0 ; i < 5 ; i ++) for (int l = 0 ; l < 6 ; l ++) probs[i][l] = (i + 1) * 0.1f + l;
	prob_writer P(c.filter, c.set, probs);
	P.writeProbabilities(d.file("p.txt"));
	EXPECT_EQ(d.read("p.txt"), "1 rs1 100 0.1 0.2 0.3 0.5\n1 rs2 200 1.1 1.2 1.3 1.5\n1 rs3 300 2.1 2.2 2.3 2.5\n1 rs4 400 3.1 3.2 3.3 3.5\n");
}

// Each carrier of a rare allele 1 or 0 spans the most sites over which it agrees with a
// carrier of another sample; carriers within one sample have none. An allele of 6 carriers
// is not rare. The rate right rises with the span, a span among 200 haplotypes counting as
// ten times as much among 2000.
TEST(haplotype_writer, RareSpansAndRates) {
	typedef std::vector < std::vector < std::pair < int, int > > > spans;
	auto rareSpans = [](const fields & haps) {
		snp_set sites;
		for (unsigned int l = 0 ; l < haps[0].size() ; l ++) sites.put(new snp("1", 100 * (l + 1), "A", "C", 3));
		std::vector < chaplotype > H (haps.size(), chaplotype(haps[0].size()));
		std::vector < int > ones (haps[0].size(), 0), hap2ind;
		for (unsigned int h = 0 ; h < haps.size() ; h ++) {
			for (unsigned int l = 0 ; l < haps[h].size() ; l ++) {
				H[h].set(l, haps[h][l] == '1');
				ones[l] += haps[h][l] == '1';
			}
			hap2ind.push_back(h / 2);
		}
		return haplotype_writer::rareSpans(H, ones, hap2ind, sites);
	};
	EXPECT_EQ(rareSpans({ "1110101", "1001100", "0110001", "1001000", "0100011", "0001111" }), spans({ { { 0, 0 }, { 1, 300 }, { 3, 300 } }, { { 0, 200 }, { 2, 200 }, { 4, 100 } },
		{ { 0, 200 }, { 2, 200 } }, { { 1, 300 }, { 3, 300 }, { 5, 300 } }, { { 0, 0 }, { 1, 300 }, { 5, 300 } }, { }, { { 1, 100 }, { 3, 100 } } }));
	EXPECT_EQ(rareSpans({ "11", "11", "11", "11", "11", "10", "00", "00", "00", "00", "00", "00" }), spans({ { }, { { 0, 100 }, { 1, 100 }, { 2, 100 }, { 3, 100 }, { 4, 100 } } }));
	EXPECT_LT(haplotype_writer::rareRate(0, 2000), 0.001);
	EXPECT_NEAR(haplotype_writer::rareRate(10000, 2000), 0.5, 1e-9);
	EXPECT_NEAR(haplotype_writer::rareRate(20000, 2000), 0.73, 0.01);
	EXPECT_GT(haplotype_writer::rareRate(300000, 2000), 0.99);
	EXPECT_DOUBLE_EQ(haplotype_writer::rareRate(2000, 200), haplotype_writer::rareRate(20000, 2000));
}

// Without a rare carrier: the maps of the graph's probability, the placed singleton where it
// weighs both phases alike, a floor for common pairs it weighs alike or against. With one:
// between the map and the placed singleton, nearer the map the longer the stretch shared, the
// surer the graph and the fewer the cohort's pairs weighed alike.
TEST(haplotype_writer, PairConfidence) {
	auto pc = [](double p, int least, double rate, double share, double singleton = 0.56, bool transform = false) {
		return haplotype_writer::pairConfidence(p, least, rate, share, singleton, transform);
	};
	EXPECT_TRUE(std::isnan(pc(std::nan(""), 50, -1, 0.2)));
	const double exact[][4] = { { 0.5, 1, -1, 0.56 }, { 0.5, 50, -1, 0.65 }, { 0.3, 3, -1, 0.5 }, { 0.5, 3, 0.99, 0.8 } };
	for (const auto & e : exact) EXPECT_NEAR(pc(e[0], e[1], e[2], 0.001), e[3], 0.01) << e[0] << " " << e[1] << " " << e[2];
	EXPECT_DOUBLE_EQ(pc(0.3, 50, -1, 0.2, 0.72), 0.72);
	EXPECT_GT(pc(0.9999, 50, -1, 0.2), 0.999);
	EXPECT_GT(pc(0.9, 50, -1, 0.2), pc(0.8, 50, -1, 0.2));
	EXPECT_GT(pc(0.8, 8, -1, 0.2), pc(0.8, 50, -1, 0.2));
	EXPECT_GT(pc(0.8, 50, -1, 0.2, 0.56, true), pc(0.8, 50, -1, 0.2));
	for (double share : { 0.01, 0.3 }) {
		EXPECT_LT(pc(0.7, 3, 0.3, share), pc(0.7, 3, 0.9, share));
		EXPECT_LT(pc(0.7, 3, 0.9, share), pc(0.7, 3, -1, share));
		EXPECT_LT(pc(0.7, 3, 0.5, share), pc(0.9, 3, 0.5, share));
		EXPECT_GT(pc(0.7, 3, 0.01, share), 0.56);
	}
	EXPECT_GT(pc(0.7, 3, 0.5, 0.01), pc(0.7, 3, 0.5, 0.3) + 0.1);
	EXPECT_NEAR(pc(0.5, 3, 0.5, 0.5), 0.56, 0.02);
}

#include "genotype_test_utils.h"

using namespace genotest;

namespace {

const std::string pedMap = "1 rs1 0 100\n1 rs2 0 150\n1 rs3 0.5 200\n1 rs4 0 300\n1 rs5 0 400\n";

// The pair of site 150 is "x x", which would be a third allele if it were read.
const std::string pedFile =
	"F1 dad 0 0 1 -9 A A x x C T 0 0 G G\n"
	"F1 mum 0 0 2 -9 A C x x T C 0 0 G 0\n"
	"F1 kid dad mum 1 -9 C A x x 0 T 0 0 0 G\n"
	"F2 skip 0 0 2 -9 too short\n";

}

TEST(gen_reader, ThresholdCallsSamplesAndPedigree) {
	TempDir d;
	testutils::writeCompressed(d.file("s.sample.bz2"), "ID_1 ID_2 missing ID_father ID_mother sex\n0 0 0 D D D\n"
		"F1 dad 0 0 0 1\nF1 mum 0 0 0 2\nF1 kid 0 dad mum 1\nF2 skip 0 0 0 2\n");
	testutils::writeCompressed(d.file("s.gen.bz2"),
		"1 rs1 100 A G 1 0 0 0 1 0 0 0 2 x y z\n"
		"1 rs2 150 A G a b c a b c a b c a b c\n"
		"1 rs3 200 C T 0 0 0 0.04 0.92 0.04 0.5 0.5 1.0 0 0 0\n"
		"1 rs4 300 T T 0 1 0 0 0 1 1 0 0 0 0 0\n");
	Store S;
	S.F.ind_exclude["skip"] = false;
	S.F.snp_exclude[150] = true;
	testutils::silenceLog();
	S.G.readGenotypeImpute(d.file("s.gen.bz2"), d.file("s.sample.bz2"), 0.9, true);

	EXPECT_EQ(S.G.ind_male, std::vector < bool > ({ true, false, true }));
	EXPECT_EQ(std::make_pair(S.G.ind_father[2], S.G.ind_mother[2]), std::make_pair(0, 1));
	EXPECT_EQ(siteList(S.G.sites.get()), "100:A/G 200:C/T 300:T/T");
	// Site 200: an all-zero triple and a triple summing to 2 (normalised to 0.25, 0.25, 0.5) fail the threshold. Site 300 has identical alleles: calls are 00.
	EXPECT_EQ(allGenotypes(S.G), "00 .. 00 | 01 01 00 | 11 .. 00");
	// Passed calls keep their one-hot triple, failed ones the normalised probabilities.
	EXPECT_EQ(S.G.likelihoods[0], std::vector < float > ({ 1, 0, 0, 0.332f, 0.334f, 0.334f, 0, 1, 0 }));
	EXPECT_EQ(S.G.likelihoods[2], std::vector < float > ({ 0, 0, 1, 0.25f, 0.25f, 0.5f, 1, 0, 0 }));
}

TEST(gen_reader, HighestProbabilityChrXSixColumnLayoutAndFaults) {
	TempDir d;
	// Both sex spellings: the later column wins.
	d.write("x.sample", "ID_1 ID_2 missing sex gender\n0 0 0 D D\nm1 man 0 2 1\nw1 woman 0 1 2\r\n");
	d.write("x.gen",
		"X rs1 extra1 100 A C 0 0 0 0.5 0.5 0\n"
		"X rs2 200 G G 0 0.5 0.5 2 2 4\n"
		"X rs3 extra3 300 A A 0 0 1 0 1 0\n"
		"X rs4 400 A C 0.1 0.2 0.7 0 0 0\n");
	Store S(true);
	testutils::silenceLog();
	S.G.readGenotypeImpute(d.file("x.gen"), d.file("x.sample"), -1.0, true);

	EXPECT_EQ(S.G.ind_male, std::vector < bool > ({ true, false }));
	EXPECT_EQ(siteList(S.G.sites.get()), "100:A/C 200:G/G 300:A/A 400:A/C");
	// The man's all-zero triple calls heterozygous. At 300 the six-column layout compares the position with the first allele: "A A" keeps its calls.
	EXPECT_EQ(allGenotypes(S.G), "01 00 11 11 | 00 00 01 01");
	// A man on X keeps 0 as second likelihood.
	EXPECT_EQ(S.G.likelihoods[0], std::vector < float > ({ 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1 }));
	EXPECT_EQ(S.G.likelihoods[1], std::vector < float > ({ 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1, 0 }));

	const std::string sample = "ID_1 ID_2 missing\n0 0 0\na A 0\nb B 0\n";
	const std::string gen = "1 r1 100 A C 1 0 0 0 0 1\n1 r2 200 A C 0 1 0 0.1 0.1 0.8\n";
	expectFaults(d, { { "f.gen", gen }, { "f.sample", sample }, { "c.sample", sample } }, {
		{ "f.gen", "", "No site read from \\[.*/f\\.gen\\]\n" },
		{ "f.gen", "1 r1 4296011665 A C 1 0 0 0 0 1\n", "Position 4296011665 at line 1 of \\[.*/f\\.gen\\] is out of range: positions go up to 2147483647" },
		{ "f.sample", "ID_1 ID_2 missing ID_father ID_mother\n0 0 0 D D\na A 0 0 0\nb B 0 0 B\n", "Individual B is given as its own parent" },
		{ "f.gen", "1 r1 100 A C 1 0 0 0 0 1\n1 r2 200 A C 1 0\n", "Line=2 found=7 fields, expected=11 or 12" },
		{ "f.sample", "ID_1 ID_2 missing\n0 0 0\na A 0\nb B\n", "Line=2 found=2 fields, expected more that 3" },
		{ "f.sample", "ID_1 ID_2 missing ID_father ID_mother\n0 0 0 D D\na A 0 0 0\nb B 0 0\n", "Line=2 found=4 fields, expected at least 5" },
	}, [&] { Store S; S.G.readGenotypeImpute(d.file("f.gen"), d.file("f.sample"), 0.9, false); });
	Store X(true);
	EXPECT_LOG_ERROR(X.G.readGenotypeImpute(d.file("f.gen"), d.file("c.sample"), 0.9, false), "You need to specify the gender of the samples when using --chrX option!");
}

TEST(ped_reader, AllelesMissingCodePedigreeAndFatalMessages) {
	TempDir d;
	writeFiles(d, { { "p.map.bz2", pedMap }, { "p.ped.bz2", pedFile } });
	Store S(true);
	S.F.ind_exclude["skip"] = false;
	S.F.snp_exclude[150] = true;
	std::string log = logOf(d, [&] { S.G.readGenotypePed(d.file("p.ped.bz2"), d.file("p.map.bz2"), "0"); });

	EXPECT_TRUE(S.G.ind_id == std::vector < std::string > ({ "dad", "mum", "kid" }) && S.G.ind_fields[2] == std::vector < std::string > ({ "F1", "0", "dad", "mum", "1", "NA" }));
	EXPECT_TRUE(S.G.ind_male == std::vector < bool > ({ true, false, true }) && S.G.ind_father == std::vector < int > ({ -1, -1, 0 }) && S.G.ind_mother == std::vector < int > ({ -1, -1, 1 }));
	// 300 is never observed and keeps empty alleles; 400 is seen with one allele only.
	EXPECT_EQ(siteList(S.G.sites.get()), "100:A/C 200:C/T 300:/ 400:G/G");
	EXPECT_EQ(S.G.sites->getByIndex(1)->id + " " + std::to_string(S.G.sites->getByIndex(1)->source), "rs3 1");
	// Column order is kept ("C A" is 10); one missing allele makes the genotype missing.
	EXPECT_EQ(allGenotypes(S.G), "00 01 .. 00 | 01 10 .. .. | 10 .. .. ..");
	EXPECT_TRUE(has(log, "] where missing-code = [0]\n  * 3 samples included\n  * 1 samples excluded\n")) << log;

	// With another missing code "0" is an allele like any other.
	writeFiles(d, { { "n.map", "1 r 0 100\n" }, { "n.ped", "f a 0 0 1 0 0 N\nf b 0 0 1 0 0 1\nf c 0 0 1 0 N N\nf d 0 0 1 0 N 1\n" } });
	Store N;
	N.G.readGenotypePed(d.file("n.ped"), d.file("n.map"), "N");
	EXPECT_EQ(siteList(N.G.sites.get()), "100:0/1");
	EXPECT_EQ(allGenotypes(N.G), ".. | 01 | .. | ..");

	expectFaults(d, { { "p.map", pedMap }, { "p.ped", pedFile } }, {
		// The short line of an included individual is refused; the printed expectation counts the included sites only.
		{ "p.ped", pedFile, "Line=4 found=8 expected=14" },
		{ "p.ped", "f a 0 0 1 0 A C A A A C A A A A\nf b 0 0 1 0 C A A A A G A A A A\n", "Non biallelic site pos=200 a=G" },
		{ "p.ped", "f a 0 0 1 0 A C A A A A A A A A\n\n", "Line=2 found=0 expected=14" },
		{ "p.map", "1 rs1 0 100\n1 rs2 150\n", "Line=2 found=3 fields expected=4" },
		{ "p.map", "1 rs2 0 150\n", "No site read from \\[.*/p\\.map\\]: all 1 were excluded" },
		{ "p.ped", "F1 dad dad 0 1 -9 A A x x C T 0 0 G G\n", "Individual dad is given as its own parent" },
	}, [&] { Store T; T.F.snp_exclude[150] = true; T.G.readGenotypePed(d.file("p.ped"), d.file("p.map"), "0"); });
}

#include "input/genotype_test_utils.h"
#include "input/reference_reader.h"
#include "modes/sorvane.h"

#include <memory>

using namespace genotest;

namespace {

struct site { int pos; std::string a0, a1; };

// Study sites named "m" + position, indexed as a genotype reader leaves them.
std::unique_ptr < snp_set > studySites(const std::vector < site > & list) {
	std::unique_ptr < snp_set > S(new snp_set());
	for (const site & s : list) {
		snp * x = new snp("1", s.pos, s.a0, s.a1, 3);
		x->id = "m" + std::to_string(s.pos);
		S->put(x);
	}
	S->indexing();
	return S;
}

void readPanel(filter_reader & F, snp_set * S, const TempDir & d) {
	LOG.open(d.file("run"));
	reference_reader R(F, S);
	R.readReferenceImpute(d.file("p.hap"), d.file("p.legend"), d.file("p.samples"));
}

const std::string samples3 = "ID POP GROUP sex\ns1 EUR EUR 1\ns2 AFR AFR 2\ns3 EUR EUR 2\n";

}

// A panel with a site absent from the study (its haplotype line is not even split), a swapped site, two rows at one position of which one matches, a
// site outside the input window, a dropped group and a haplotype file shorter than the legend.
TEST(reference_reader, AlignedPanelAtStudyResolution) {
	flippable = 1;
	std::unique_ptr < snp_set > S = studySites({ { 100, "A", "C" }, { 200, "G", "T" }, { 300, "A", "G" }, { 400, "C", "T" } });
	TempDir d;
	writeFiles(d, { { "p.samples.bz2", samples3 }, { "p.hap.bz2", "0 1 1 1 1 0\nnot split\n0 1 1 0 0 0\n1 0 0 0 1 ?\nbad\n" },
		{ "p.legend.bz2", "id position a0 a1\nr100 100 A C\nr150 150 C G\nr200 200 T G\nr300 300 A G\nr300b 300 A T\nr400 400 C T extra cols\n" } });
	filter_reader F;
	F.initialise(0, 250);
	F.grp_exclude["AFR"] = false;

	reference_reader R(F, S.get());
	std::string log = logOf(d, [&] { R.readReferenceImpute(d.file("p.hap.bz2"), d.file("p.legend.bz2"), d.file("p.samples.bz2")); });

	EXPECT_TRUE(R.ind_id == std::vector < std::string > ({ "s1", "s3" }) && R.ind_male == std::vector < bool > ({ true, false }) && R.problems.empty());
	EXPECT_EQ(siteList(R.ref_sites), "100:A/C 150:C/G 200:T/G 300:A/G 300:A/T 400:C/T");
	snp * r = R.ref_sites->getByIndex(5);
	EXPECT_EQ(r->chr + " " + r->id + " " + std::to_string(r->source), "r400 r400 6");
	// Bit 1 is the study's second allele: swapped site 1 reads inverted, "?" reads as the first allele, the site without a haplotype line stays 0.
	EXPECT_EQ(R.hap0, std::vector < std::vector < bool > > ({ { 0, 1, 1, 0 }, { 1, 1, 1, 0 } }));
	EXPECT_EQ(R.hap1, std::vector < std::vector < bool > > ({ { 1, 0, 0, 0 }, { 0, 1, 0, 0 } }));

	EXPECT_TRUE(has(log, "  * 4 reference haplotypes included\n  * 2 reference haplotypes excluded\n  * 1 males / 1 females\n") &&
		has(log, "  * 4 reference panel sites included\n  * 2 reference panel sites excluded\n")) << log;
}

// Missing, duplicated and misaligned sites, swapped alleles accepted: report rows, the exclude list and the stop.
TEST(reference_reader, AlignmentFaultsStopWithReportsAndFatalMessages) {
	std::unique_ptr < snp_set > S = studySites({ { 100, "A", "C" }, { 200, "G", "T" }, { 300, "A", "G" }, { 400, "C", "T" }, { 500, "A", "T" }, { 600, "A", "T" } });
	TempDir d;
	d.write("p.samples", "ID POP GROUP\ns1 EUR EUR\n");
	d.write("p.legend", "id position a0 a1\nr100 100 A C\nr200 200 T G\nr400a 400 C T\nr400b 400 C T\nr500a 500 C G\nr500b 500 G C\nr600a 600 A T\nr600b 600 T A\n");
	filter_reader F;
	flippable = 1;
	const std::string aligned = "Reference and Main panels are not well aligned:\n  \\* #Missing sites in reference panel = ";
	const std::string header = "type\tpos\tmain_id\tmain_A\tmain_B\tmain_flippable\tref_id\tref_A\tref_B\tref_flippable\n";

	EXPECT_LOG_ERROR(readPanel(F, S.get(), d), aligned + "1\n  \\* #Misaligned sites between panels = 1\n  \\* #Multiple alignments between panels = 2");
	EXPECT_EQ(d.read("run.snp.strand"), header +
		"Missing\tMissing\t300\tm300\tA\tG\t1\tNA\tNA\tNA\t1\nDuplicate\tDuplicate\t400\tm400\tC\tT\t1\tr400a\tC\tT\t0\n"
		"Duplicate\tDuplicate\t400\tm400\tC\tT\t1\tr400b\tC\tT\t0\nStrand\tStrand\t500\tm500\tA\tT\t1\tr500a\tC\tG\t0\n"
		"Strand\tStrand\t500\tm500\tA\tT\t1\tr500b\tG\tC\t0\nDuplicate\tDuplicate\t600\tm600\tA\tT\t1\tr600a\tA\tT\t0\n"
		"Duplicate\tDuplicate\t600\tm600\tA\tT\t1\tr600b\tT\tA\t0\n");
	EXPECT_EQ(d.read("run.snp.strand.exclude"), "300\n400\n400\n500\n500\n600\n600\n");

	S = studySites({ { 100, "A", "C" }, { 200, "G", "T" } });
	F.grp_exclude["AFR"] = false;
	const std::string samples = "ID POP GROUP\ns1 EUR EUR\ns2 AFR AFR\n", legend = "id position a0 a1\nr100 100 A C\nr200 200 G T\n";
	expectFaults(d, { { "p.samples", samples }, { "p.legend", legend }, { "p.hap", "0 0 1 1\n0 1 1 1\n" } }, {
		{ "p.samples", "ID POP GROUP\ns1 EUR EUR\ns2\n", "Line=1 found=1 fields, expected more than 3" },
		// The sex column of a kept sample must be present.
		{ "p.samples", "ID POP GROUP sex\ns1 EUR EUR 1\ns2 EUR EUR\n", "Line=1 found=3 fields, the sex column \\(idx=3\\) is missing" },
		{ "p.legend", "id position a0 a1\nr100 100 A C\nr200 200 G\n", "Line=2 found=3 fields, expected more  than 4" },
		// The dropped AFR sample still counts in the field count.
		{ "p.hap", "0 0 1 1\n0 1\n", "Line=2 found=2 fields, expected=4" },
		{ "p.hap", "0 0 1 1\n0 1 1 1\n1 1 1 1\n", "Line=3 of \\[.*p.hap\\] has no matching line in the legend file" },
	}, [&] { readPanel(F, S.get(), d); });
	for (std::string name : { "hap", "legend", "samples" }) EXPECT_LOG_ERROR(reference_reader(F, S.get()).readReferenceImpute(d.file(name == "hap" ? "none" : "p.hap"),
		d.file(name == "legend" ? "none" : "p.legend"), d.file(name == "samples" ? "none" : "p.samples")), "Impossible to open file \\[.*/none\\]");
}

#include "test_utils.h"

#include <cstdio>

using namespace testutils;

static RunResult runPlot(const std::string & args, const std::string & dir) {
	return testutils::runCommand("timeout 60 " + std::string(SORVANE_PLOT) + " " + args, dir);
}

static std::string row(const std::string & label, long count) {
	return "<tr><th>" + label + "</th><td>" + std::to_string(count) + "</td>";
}

static long columnSum(const std::string & report, int column) {
	std::vector < std::string > l = lines(report);
	long sum = 0;
	for (size_t i = 1 ; i < l.size() ; i ++) sum += std::stol(words(l[i])[column]);
	return sum;
}

// 31 samples at 20 sites: a trio with 4 Mendel errors, P1 and P2 with two children, MISS 30% missing.
static std::string plantedPed() {
	struct Person { std::string ped; int father, mother; };
	std::vector < Person > people = { { "F1 DAD 0 0 1", -1, -1 }, { "F1 MUM 0 0 2", -1, -1 }, { "F1 KID DAD MUM 1", 0, 1 },
		{ "F2 P1 0 0 1", -1, -1 }, { "F2 P2 0 0 2", -1, -1 }, { "F2 S1 P1 P2 2", 3, 4 } };
	for (int u = 0 ; u < 23 ; u ++) people.push_back({ "U" + std::to_string(u) + " U" + std::to_string(u) + " 0 0 " + std::to_string(1 + u % 2), -1, -1 });
	people.push_back({ "MISS MISS 0 0 2", -1, -1 });
	const int miss = people.size() - 1;
	people.push_back({ "F2 S2 P1 P2 1", 3, 4 });
	// A founder's first allele; a child takes the first allele of each parent.
	auto first = [](int i, int s) { return (i * 7 + s * 3) % 5 < 2; };
	std::string ped;
	for (int i = 0 ; i < (int)people.size() ; i ++) {
		const Person & p = people[i];
		ped += p.ped + " -9";
		for (int s = 0 ; s < 20 ; s ++) {
			int a = p.father < 0 ? first(i, s) : first(p.father, s), b = p.father < 0 ? (i * 3 + s * 5 + 1) % 4 == 0 : first(p.mother, s);
			// The planted errors: both parents A A, their child C C.
			if (i < 3 && s < 4) a = b = (i == 2);
			if (i == miss && s % 3 == 0 && s < 18) ped += " 0 0";
			else ped += std::string(" ") + "AC"[a] + " " + "AC"[b];
		}
		ped += "\n";
	}
	return ped;
}

TEST(cli_plot, PlantedFaults) {
	TempDir d;
	d.write("cohort.ped", plantedPed());
	std::string map;
	for (int s = 0 ; s < 20 ; s ++) map += "1 rs" + std::to_string(s) + " 0 " + std::to_string(1000 + 100 * s) + "\n";
	d.write("cohort.map", map);
	d.write("miss.txt", "MISS\n");

	// Two runs leave their reports under one prefix: Mendel reports without MISS, then missingness with it.
	EXPECT_TRUE(refused(runSorvane("-check --input-ped cohort --exclude-ind miss.txt -L qc", d.path), "  * 2 samples are included in several duos/trios, check list in qc.inc.me\n"));
	EXPECT_TRUE(d.read("qc.inc.me") == "id\nP1\nP2\n" && has(d.read("qc.log"), "  * 1 trios with high Mendel error rate (> 5%)\n")) << d.read("qc.log");
	EXPECT_TRUE(succeeded(runSorvane("-check --input-ped cohort --exclude-ind miss.txt --noped -L noped", d.path)) && !exists(d.file("noped.inc.me")));
	EXPECT_TRUE(refused(runSorvane("-check --input-ped cohort -L qc", d.path), "1 individuals with high rates of missing data (>10%)"));
	RunResult r = runPlot("qc", d.path);
	EXPECT_TRUE(succeeded(r) && r.out == "Check page: qc.qc.html (picture: qc.qc.png)\n") << r.out;
	EXPECT_EQ(d.read("qc.qc.png").substr(0, 8), "\x89PNG\r\n\x1a\n");
	const std::string html = d.read("qc.qc.html");
	EXPECT_TRUE(has(html, "<img alt=\"check reports\" src=\"data:image/png;base64,iVBORw0KGgo")) << html.substr(0, 2000);
	EXPECT_TRUE(columnSum(d.read("qc.ind.mm"), 1) == 6 && columnSum(d.read("qc.snp.me"), 2) == 4);
	EXPECT_TRUE(hasAll(html, { row("Samples", 31) + "<td></td>", row("Missing genotypes", 6), row("Samples missing &gt; 10% of sites (stops phasing)", 1) + "<td>MISS</td>",
			row("Sites missing &gt; 5% of samples", 0), row("Families with Mendel errors", 1) + "<td>KID</td>", row("Samples with Mendel error rate &gt; 5%", 1) + "<td>KID</td>",
			row("Mendel errors over all sites", 4), row("Samples in several duos or trios", 2) + "<td>P1, P2</td>",
			"<li>Panel alignment problems by kind: No .snp.strand report", "<li>Haploid heterozygotes per male (chrX): No .ind.hh report" }));

}

TEST(cli_plot, Errors) {
	TempDir d;
	const std::string ind_mm = "id\tmissing\nS0\t1\n", snp_mm = "id\tposition\tA\tB\tmissing\tcount_A_main\tcount_B_main\tcount_A_founder\tcount_B_founder\nrs0\t100\tA\tC\t1\t1\t1\t1\t1\n";
	struct Case { std::string suffix, content, message; };
	const Case cases[] = {
		{ ".ind.mm", "id\tmissing\nS0\t1\nS1\tx\n", "e.ind.mm line 3: 'x' in column missing is not a whole number" },
		{ ".ind.mm", "id\tmissing\nS0\t1\t2\n", "e.ind.mm line 2: expected 2 tab-separated fields, found 3" },
		{ ".ind.mm", "", "e.ind.mm line 1: expected the header 'id\\tmissing'" },
		{ ".snp.me", "id\tposition\tmendel\ttotal\nrs0\t100\t0\t1\n", "e.snp.me found without e.ind.me: the check writes both" },
		{ ".snp.strand", "type\tpos\tmain_id\tmain_A\tmain_B\tmain_flippable\tref_id\tref_A\tref_B\tref_flippable\nFlip\tFlip\t100\trs0\tA\tC\t1\trs0\tT\tG\t0\n",
			"e.snp.strand line 2: unknown problem type 'Flip'" },
	};
	for (const Case & c : cases) {
		d.write("e.ind.mm", ind_mm);
		d.write("e.snp.mm", snp_mm);
		d.write("e" + c.suffix, c.content);
		RunResult r = runPlot("e", d.path);
		EXPECT_TRUE(r.status == 1 && r.err == "sorvane-plot: error: " + c.message + "\n") << r.err;
		remove(d.file("e" + c.suffix).c_str());
	}
	RunResult r = runPlot("none", d.path);
	EXPECT_TRUE(r.status == 1 && r.err == "sorvane-plot: error: no check report found for prefix 'none': looked for none.ind.mm, none.snp.mm, none.ind.me, "
		"none.snp.me, none.inc.me, none.ind.hh, none.snp.hh, none.snp.strand\n" && !exists(d.file("none.qc.html"))) << r.err;
	r = runPlot("", d.path);
	EXPECT_TRUE(r.status == 1 && has(r.err, "sorvane-plot: error: the following arguments are required: prefix")) << r.err;
}

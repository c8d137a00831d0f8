#include "input/genotype_checker.h"
#include "input/genotype_test_utils.h"
#include "modules/builder.h"
#include "objects/genotype_graph_test_utils.h"

using graphtest::dump;
using graphtest::fault;

namespace {

typedef std::map < std::string, int > unit_record;

unit_record record(int type, int child, int father, int mother) {
	return { { "type", type }, { "idx_child", child }, { "ord_child", 10 + child }, { "idx_father", father }, { "ord_father", 10 + father },
		{ "main_father", 1 }, { "idx_mother", mother }, { "ord_mother", 10 + mother }, { "main_mother", 0 } };
}

// Builds with n threads, frees the graphs, returns their dumps after checking each.
std::vector < std::string > buildAll(genotype_reader & G, std::vector < unit_record > & units, int n) {
	work_queue W (n);
	builder B(G, units, W);
	B.build();
	std::vector < std::string > out;
	for (genotype_graph * g : B.vecG) {
		EXPECT_EQ(fault(*g, G.missing[0].size()), "") << g->name;
		out.push_back(dump(*g));
		delete g;
	}
	return out;
}

}

// Each kind of unit takes the vectors of its members in order, and the header of its record.
TEST(builder, UnitsOfEachKind) {
	testutils::silenceLog();
	genotest::Store st;
	genotype_reader & G = st.G;
	const std::string genos[7] = { "0.12", "1011", "11.1", "2102", "0120", "1111", "20.0" };
	for (int i = 0 ; i < 7 ; i ++) {
		std::string id = "I" + std::to_string(i);
		G.putInd(id);
		for (char c : genos[i]) {
			G.hap0[i].push_back(c == '2');
			G.hap1[i].push_back(c == '1' || c == '2');
			G.missing[i].push_back(c == '.');
		}
		G.ind_family[i] = i / 3;
		G.ind_fields[i] = { "f" + std::to_string(i) };
	}
	G.scaffold[6] = { 1, 1, 0, 0 };
	G.hap0[6][0] = false;
	std::vector < unit_record > units = { record(4, 2, 0, 1), record(3, 4, -1, 3), record(3, 5, 0, -1), record(2, 6, -1, -1), record(1, 3, -1, -1) };
	genotype_graph trio(4, 0), duoM(3, 1), duoF(3, 1), scaffolded(2, 2), haploid(1, 1);
	trio.buildTrio(G.hap0[0], G.hap1[0], G.missing[0], G.hap0[1], G.hap1[1], G.missing[1], G.hap0[2], G.hap1[2], G.missing[2]);
	duoM.buildDuo(G.hap0[3], G.hap1[3], G.missing[3], G.hap0[4], G.hap1[4], G.missing[4]);
	duoF.buildDuo(G.hap0[0], G.hap1[0], G.missing[0], G.hap0[5], G.hap1[5], G.missing[5]);
	scaffolded.buildUnr(G.hap0[6], G.hap1[6], G.missing[6], G.scaffold[6]);
	haploid.buildHap(G.hap0[3], G.missing[3]);
	genotype_graph * direct[5] = { &trio, &duoM, &duoF, &scaffolded, &haploid };
	const std::string headers[5] = { "4 0 I2 12 I0 1 10 I1 0 11 0\nf2,f0,f1,", "3 1 I4 14 0 0 -1 I3 0 13 0\nf4,f3,",
		"3 1 I5 15 I0 1 10 0 0 -1 0\nf5,f0,", "2 2 I6 16 0 0 -1 0 0 -1 1\nf6,", "1 1 I3 13 0 0 -1 0 0 -1 0\nf3," };

	work_queue serial (1);
	builder B(G, units, serial);
	B.build();
	ASSERT_EQ(B.vecG.size(), units.size());
	for (int u = 0 ; u < 5 ; u ++) {
		std::string built = dump(*B.vecG[u]), other = dump(*direct[u]);
		size_t header = built.find('\n', built.find('\n') + 1);
		EXPECT_EQ(built.substr(0, header), headers[u]);
		// The rest as built directly from the members' vectors.
		EXPECT_EQ(built.substr(header), other.substr(other.find('\n', other.find('\n') + 1))) << u;
		delete B.vecG[u];
	}

	// Spare threads find no work.
	std::vector < unit_record > one = { units[0] }, odd = { record(5, 0, -1, -1) };
	EXPECT_EQ(buildAll(G, one, 4).size(), 1u);
	builder bad(G, odd, serial);
	EXPECT_LOG_ERROR(bad.build(), "Builder: Unknown type of Genotype");
}

// The example cohort, read and ordered as the check mode does, builds the same graphs on one
// and on two threads: 175 unrelated individuals, 5 duos and 5 trios.
TEST(builder, ExampleCohortOnOneAndTwoThreads) {
	testutils::TempDir d;
	genotest::Store st;
	reference_reader R(st.F, st.G.sites.get());
	std::vector < unit_record > units;
	std::vector < std::string > one, two;
	const std::string E = SORVANE_EXAMPLE_DATA;
	std::string log = genotest::logOf(d, [&]() {
		st.G.readGenotypePed(E + "/cohort.ped", E + "/cohort.map", "0");
		genotype_checker C(st.G, R, false, false);
		C.checkGenotypeData();
		C.order(units);
		one = buildAll(st.G, units, 1);
		two = buildAll(st.G, units, 2);
	});
	ASSERT_EQ(units.size(), 185u);
	EXPECT_EQ(one, two);
	int kinds[5] = { 0, 0, 0, 0, 0 };
	for (const std::string & g : one) kinds[g[0] - '0'] ++;
	EXPECT_EQ(std::vector < int > (kinds + 1, kinds + 5), std::vector < int > ({ 0, 175, 5, 5 }));
	EXPECT_TRUE(genotest::contains(log, "\nBuilding graphs ... \n"));
}

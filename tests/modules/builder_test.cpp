#include "input/genotype_test_utils.h"
#include "modules/builder.h"
#include "objects/genotype_graph_test_utils.h"

using graphtest::dump;

// Each kind of unit built from its members' vectors (scaffold in the header), on 1 and 3 threads.
TEST(builder, UnitsOfEachKind) {
	testutils::silenceLog();
	genotest::Store st;
	genotype_reader & G = st.G;
	const std::string genos[7] = { "0.12", "1011", "11.1", "2102", "0120", "1111", "20.0" };
	for (int i = 0 ; i < 7 ; i ++) {
		std::string id = "I" + std::to_string(i);
		G.putInd(id);
		for (char c : genos[i]) G.hap0[i].push_back(c == '2'), G.hap1[i].push_back(c == '1' || c == '2'), G.missing[i].push_back(c == '.');
		G.ind_family[i] = i / 3;
	}
	G.scaffold[6] = { 1, 1, 0, 0 };
	G.hap0[6][0] = false;
	auto record = [](int type, int child, int father, int mother) {
		return std::map < std::string, int > { { "type", type }, { "idx_child", child }, { "ord_child", 10 + child }, { "idx_father", father },
			{ "ord_father", 10 + father }, { "main_father", 1 }, { "idx_mother", mother }, { "ord_mother", 10 + mother }, { "main_mother", 0 } };
	};
	std::vector < std::map < std::string, int > > units = { record(4, 2, 0, 1), record(3, 4, -1, 3), record(3, 5, 0, -1), record(2, 6, -1, -1), record(1, 3, -1, -1) };
	std::vector < genotype_graph > direct = { genotype_graph(4, 0), genotype_graph(3, 1), genotype_graph(3, 1), genotype_graph(2, 2), genotype_graph(1, 1) };
	direct[0].buildTrio(G.hap0[0], G.hap1[0], G.missing[0], G.hap0[1], G.hap1[1], G.missing[1], G.hap0[2], G.hap1[2], G.missing[2]);
	direct[1].buildDuo(G.hap0[3], G.hap1[3], G.missing[3], G.hap0[4], G.hap1[4], G.missing[4]);
	direct[2].buildDuo(G.hap0[0], G.hap1[0], G.missing[0], G.hap0[5], G.hap1[5], G.missing[5]);
	direct[3].buildUnr(G.hap0[6], G.hap1[6], G.missing[6], G.scaffold[6]);
	direct[4].buildHap(G.hap0[3], G.missing[3]);
	std::vector < std::string > built[2];
	for (int T : { 1, 3 }) {
		work_queue W (T);
		builder B(G, units, W);
		B.build();
		for (genotype_graph * g : B.vecG) {
			EXPECT_EQ(graphtest::fault(*g, 4), "") << g->name;
			built[T / 3].push_back(dump(*g));
			delete g;
		}
	}
	ASSERT_EQ(built[0].size(), units.size());
	EXPECT_EQ(built[0], built[1]);
	EXPECT_EQ(built[0][3].substr(0, built[0][3].find('\n')), "2 2 I6 16 0 0 -1 0 0 -1 1");	// scaffolded
	for (int u = 0 ; u < 5 ; u ++) {	// past the two header lines, as built directly from the members' vectors
		const std::string other = dump(direct[u]);
		EXPECT_EQ(built[0][u].substr(built[0][u].find('\n', built[0][u].find('\n') + 1)), other.substr(other.find('\n', other.find('\n') + 1))) << u;
	}
}

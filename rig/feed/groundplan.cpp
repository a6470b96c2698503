// Reads the ground of an airport. A table with a fault is not used at all: the text names file and line.

#include "groundplan.h"

#include "refdata/csv.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <queue>
#include <stdexcept>

namespace rig {

namespace {

class PlanReader {
  public:
    PlanReader(const std::filesystem::path& where, const std::string& code) : folder(where) {
        plan.code = code;
    }
    GroundPlan read() {
        readIndex();
        each(plan.code + ".runways.csv", [this](const CsvReader& in) { addRunway(in); });
        each(plan.code + ".nodes.csv", [this](const CsvReader& in) { addNode(in); });
        each(plan.code + ".edges.csv", [this](const CsvReader& in) { addEdge(in); });
        each(plan.code + ".csv", [this](const CsvReader& in) { addStand(in); });
        return std::move(plan);
    }

  private:
    template <typename Take> void each(const std::string& name, Take take) {
        for (CsvReader in(folder / name); in.next();) {
            try {
                take(in);
            } catch (const std::exception& e) {
                throw std::runtime_error(fmt::format("{}, line {}: {}", name, in.line(), e.what()));
            }
        }
    }
    void readIndex() {
        bool found = false;
        each("index.csv", [&](const CsvReader& in) {
            if (in.field("icao") != plan.code) return;
            found = true;
            plan.name = in.field("name");
            plan.place = placeOf(in);
            plan.elevationFt = number(in, "elev_ft", -2000, 20000);
        });
        if (!found) throw std::runtime_error(fmt::format("index.csv has no airport \"{}\"", plan.code));
    }

    static double number(const CsvReader& in, const char* column, double low, double high) {
        const std::string text = in.field(column);
        const auto value = wholeNumber(text);
        if (!value || *value < low || *value > high)
            throw std::runtime_error(
                fmt::format("{} \"{}\" is no number from {} to {}", column, text, low, high));
        return *value;
    }
    static LatLon placeOf(const CsvReader& in) {
        return {number(in, "lat", -90, 90), number(in, "lon", -180, 180)};
    }
    template <typename Kind>
    static Kind kindOf(const CsvReader& in, const char* column, const std::map<std::string, Kind>& kinds) {
        const auto found = kinds.find(in.field(column));
        if (found == kinds.end())
            throw std::runtime_error(fmt::format("unknown {} \"{}\"", column, in.field(column)));
        return found->second;
    }
    std::size_t nodeOf(const CsvReader& in, const char* column) const {
        const auto found = nodeById.find(in.field(column));
        if (found == nodeById.end())
            throw std::runtime_error(fmt::format("no node \"{}\"", in.field(column)));
        return found->second;
    }
    void testRunway(const std::string& name) const {
        if (std::none_of(plan.runways.begin(), plan.runways.end(),
                         [&](const PlanRunway& runway) { return runway.name == name; }))
            throw std::runtime_error(fmt::format("no runway \"{}\"", name));
    }

    void addRunway(const CsvReader& in) {
        plan.runways.push_back({in.field("name"), placeOf(in), number(in, "heading", 0, 360),
                                number(in, "length_m", 300, 6000), number(in, "width_m", 5, 100)});
    }
    void addNode(const CsvReader& in) {
        static const std::map<std::string, NodeKind> kinds{
            {"taxi", NodeKind::taxi}, {"hold", NodeKind::hold}, {"runway", NodeKind::runway}};
        PlanNode node{in.field("id"), placeOf(in), kindOf(in, "kind", kinds), {}};
        const std::string names = in.field("runway");
        for (std::size_t start = 0; start < names.size();) {
            const std::size_t end = std::min(names.find(' ', start), names.size());
            if (end > start) node.runways.push_back(names.substr(start, end - start));
            start = end + 1;
        }
        for (const auto& name : node.runways) testRunway(name);
        if ((node.kind == NodeKind::taxi) != node.runways.empty())
            throw std::runtime_error("runways belong to holding points and runway nodes, and only there");
        if (!nodeById.emplace(node.id, plan.nodes.size()).second)
            throw std::runtime_error(fmt::format("node \"{}\" a second time", node.id));
        plan.nodes.push_back(std::move(node));
        plan.edgesFrom.emplace_back();
    }
    void addEdge(const CsvReader& in) {
        static const std::map<std::string, EdgeKind> kinds{{"taxiway", EdgeKind::taxiway},
                                                           {"lane", EdgeKind::lane},
                                                           {"exit", EdgeKind::exit},
                                                           {"entry", EdgeKind::entry}};
        PlanEdge edge{nodeOf(in, "from"),  nodeOf(in, "to"),   kindOf(in, "kind", kinds),
                      in.field("taxiway"), in.field("runway"), 0};
        const PlanNode &from = plan.nodes[edge.from], &to = plan.nodes[edge.to];
        if (edge.from == edge.to) throw std::runtime_error("an edge from a node to itself");
        if ((edge.kind == EdgeKind::exit) != (from.kind == NodeKind::runway) ||
            (edge.kind == EdgeKind::entry) != (to.kind == NodeKind::runway))
            throw std::runtime_error("exits come from a runway node, entries lead to one, and no others do");
        if (edge.kind == EdgeKind::exit || edge.kind == EdgeKind::entry) testRunway(edge.runway);
        edge.meters = gf_distanceNm(from.place, to.place) * metersPerNm;
        plan.edgesFrom[edge.from].push_back(plan.edges.size());
        plan.edges.push_back(std::move(edge));
    }
    void addStand(const CsvReader& in) {
        static const std::map<std::string, Leave> kinds{{"push", Leave::push}, {"through", Leave::through}};
        PlanStand stand;
        std::string slip;
        const std::string wrong = readStandRow(in, stand, slip);
        if (!wrong.empty() || !slip.empty()) throw std::runtime_error(wrong.empty() ? slip : wrong);
        if (std::any_of(plan.stands.begin(), plan.stands.end(),
                        [&](const PlanStand& other) { return other.id == stand.id; }))
            throw std::runtime_error(fmt::format("stand \"{}\" a second time", stand.id));
        stand.node = nodeOf(in, "node");
        stand.leave = kindOf(in, "leave", kinds);
        stand.to = nodeOf(in, "to");
        plan.stands.push_back(std::move(stand));
    }

    std::filesystem::path folder;
    GroundPlan plan;
    std::map<std::string, std::size_t> nodeById;
};

} // namespace

bool hasGroundPlan(const std::filesystem::path& folder, const std::string& code) {
    return std::filesystem::exists(folder / (code + ".nodes.csv"));
}

GroundPlan readGroundPlan(const std::filesystem::path& folder, const std::string& code) {
    return PlanReader(folder, code).read();
}

std::vector<std::size_t> shortestWay(const GroundPlan& plan, std::size_t from, std::size_t to) {
    constexpr double farAway = std::numeric_limits<double>::infinity();
    std::vector<double> meters(plan.nodes.size(), farAway);
    std::vector<std::size_t> before(plan.nodes.size(), from);
    using Entry = std::pair<double, std::size_t>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> open;
    meters[from] = 0;
    open.emplace(0, from);
    while (!open.empty()) {
        const auto [way, node] = open.top();
        open.pop();
        if (node == to) break;
        if (way > meters[node]) continue;
        for (const std::size_t i : plan.edgesFrom[node]) {
            const PlanEdge& edge = plan.edges[i];
            if (way + edge.meters >= meters[edge.to]) continue;
            meters[edge.to] = way + edge.meters;
            before[edge.to] = node;
            open.emplace(meters[edge.to], edge.to);
        }
    }
    if (meters[to] == farAway) return {};
    std::vector<std::size_t> nodes{to};
    while (nodes.back() != from) nodes.push_back(before[nodes.back()]);
    std::reverse(nodes.begin(), nodes.end());
    return nodes;
}

} // namespace rig

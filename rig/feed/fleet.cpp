// The table of operators. In a registration pattern "?" stands for a letter, "#" for a digit.

#include "fleet.h"

namespace rig {

// Performance: approach and cruise speed in knots, cruise altitude in feet, climb in feet per minute.
constexpr Performance narrowBody{137, 445, 34000, 2400}, wideBody{145, 480, 36000, 2000},
    jumbo{150, 485, 36000, 1800}, regional{128, 420, 31000, 2200}, turboprop{115, 270, 21000, 1500},
    bizjet{112, 410, 38000, 3000};

// Addresses begin with the country's block of the international plan.
constexpr std::uint32_t unitedKingdom = 0x400000, germany = 0x3C0000, spain = 0x340000, france = 0x380000,
                        ireland = 0x4CA000, netherlands = 0x480000, switzerland = 0x4B0000, usa = 0xA10000,
                        qatar = 0x06A000, emirates = 0x896000, turkey = 0x4BA000, luxembourg = 0x4D0000,
                        austria = 0x440000;

double turnRoundMinutes(const Operator& by, Dice& dice) {
    constexpr double wideM = 40, jetM = 32; // of the span
    return by.spanM > wideM  ? dice.between(45, 80)
           : by.spanM > jetM ? dice.between(25, 45)
                             : dice.between(20, 35);
}

const std::vector<Operator>& airliners() {
    static const std::vector<Operator> table{
        {"BAW", "BA", "A320", "G-EUU?", unitedKingdom, "A3", narrowBody, 35.8},
        {"BAW", "BA", "B77W", "G-STB?", unitedKingdom, "A5", wideBody, 64.8},
        {"BAW", "BA", "A388", "G-XLE?", unitedKingdom, "A5", jumbo, 79.8},
        {"EZY", "U2", "A319", "G-EZ??", unitedKingdom, "A3", narrowBody, 35.8},
        {"DLH", "LH", "A320", "D-AIZ?", germany, "A3", narrowBody, 35.8},
        {"DLH", "LH", "A321", "D-AIS?", germany, "A3", narrowBody, 35.8},
        {"DLH", "LH", "A359", "D-AIX?", germany, "A5", wideBody, 64.8},
        {"DLH", "LH", "CRJ9", "D-ACN?", germany, "A3", regional, 24.9},
        {"RYR", "FR", "B738", "EI-E??", ireland, "A3", narrowBody, 35.8},
        {"VLG", "VY", "A320", "EC-M??", spain, "A3", narrowBody, 35.8},
        {"IBE", "IB", "A333", "EC-LZ?", spain, "A5", wideBody, 60.3},
        {"AFR", "AF", "A320", "F-HEP?", france, "A3", narrowBody, 35.8},
        {"KLM", "KL", "B738", "PH-BX?", netherlands, "A3", narrowBody, 35.8},
        {"KLM", "KL", "E190", "PH-EZ?", netherlands, "A3", regional, 28.7},
        {"SWR", "LX", "BCS3", "HB-JC?", switzerland, "A3", narrowBody, 35.1},
        {"AUA", "OS", "DH8D", "OE-LG?", austria, "A3", turboprop, 28.4},
        {"THY", "TK", "B738", "TC-JH?", turkey, "A3", narrowBody, 35.8},
        {"QTR", "QR", "B77W", "A7-BA?", qatar, "A5", wideBody, 64.8},
        {"UAE", "EK", "A388", "A6-EE?", emirates, "A5", jumbo, 79.8},
        {"AAL", "AA", "B738", "N9##NN", usa, "A3", narrowBody, 35.8},
        {"AAL", "AA", "A21N", "N4##AN", usa, "A3", narrowBody, 35.8},
        {"DAL", "DL", "A321", "N3##DN", usa, "A3", narrowBody, 35.8},
        {"JBU", "B6", "A320", "N5##JB", usa, "A3", narrowBody, 35.8},
        {"UAL", "UA", "B739", "N6##UA", usa, "A3", narrowBody, 35.8},
        {"RPA", "YX", "E75L", "N4##YX", usa, "A3", regional, 28.7},
    };
    return table;
}

const std::vector<Operator>& freighters() {
    static const std::vector<Operator> table{
        {"FDX", "FX", "B77L", "N8##FD", usa, "A5", wideBody, 64.8},
        {"UPS", "5X", "B763", "N3##UP", usa, "A5", wideBody, 50.9},
        {"CLX", "CV", "B744", "LX-?CV", luxembourg, "A5", jumbo, 64.4},
        {"GEC", "LH", "B77L", "D-ALF?", germany, "A5", wideBody, 64.8},
        {"BCS", "QY", "A306", "D-AEA?", germany, "A5", wideBody, 44.8},
    };
    return table;
}

// Cruise altitudes of light aircraft and helicopters are heights above the airport.
const std::vector<Operator>& lightAircraft() {
    static const std::vector<Operator> table{
        {"", "", "C172", "D-E???", germany, "A1", {65, 105, 1500, 700}, 11},
        {"", "", "P28A", "G-B???", unitedKingdom, "A1", {65, 110, 1400, 700}, 10.7},
        {"", "", "DA40", "HB-S??", switzerland, "A1", {70, 125, 1800, 900}, 11.9},
        {"", "", "SR22", "N7##SR", usa, "A1", {80, 160, 2500, 1200}, 11.7},
    };
    return table;
}

const std::vector<Operator>& helicopters() {
    static const std::vector<Operator> table{
        {"", "", "EC35", "D-H???", germany, "A7", {50, 110, 700, 900}, 10.2},
        {"", "", "EC45", "G-N???", unitedKingdom, "A7", {50, 115, 800, 900}, 11},
        {"", "", "R44", "N4###R", usa, "A7", {50, 95, 600, 700}, 10.1},
    };
    return table;
}

const std::vector<Operator>& businessJets() {
    static const std::vector<Operator> table{
        {"NJE", "", "C68A", "CS-LA?", 0x490000, "A2", bizjet, 22},
        {"", "", "C25A", "D-I???", germany, "A1", bizjet, 15.2},
        {"EJA", "", "GLF6", "N1##QS", usa, "A3", bizjet, 30.4},
    };
    return table;
}

} // namespace rig

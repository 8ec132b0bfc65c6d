#include "end_to_end/real_movie.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "end_to_end/built_paths.h"

namespace kvx_test {

namespace {

using nlohmann::json;

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "%s is missing\n", path.c_str());
        std::abort();
    }
    return std::string(std::istreambuf_iterator<char>(file), {});
}

Fraction ParseFraction(const std::string& text) {
    Fraction fraction = {};
    std::sscanf(text.c_str(), "%ld/%ld", &fraction.numerator, &fraction.denominator);
    return fraction;
}

std::vector<Packet> PacketsOf(const json& told, int stream) {
    std::vector<Packet> packets;
    for (const json& packet : told.at("packets")) {
        if (packet.at("stream_index") == stream) {
            packets.push_back({packet.at("pts"), std::stoll(packet.at("pos").get<std::string>()),
                               std::stoll(packet.at("size").get<std::string>())});
        }
    }
    return packets;
}

std::vector<double> Doubles(const std::string& bytes) {
    std::vector<double> values(bytes.size() / sizeof(double));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(double));
    return values;
}

}  // namespace

std::string MediaPath(const std::string& name) {
    return std::string(kMediaFolder) + "/" + name;
}

RealMovie ReadRealMovie(const std::string& name) {
    RealMovie movie;
    movie.path = MediaPath(name);
    const json told = json::parse(ReadFile(movie.path + ".json"));
    for (const json& stream : told.at("streams")) {
        const std::string kind = stream.at("codec_type");
        std::vector<Packet> packets = PacketsOf(told, stream.at("index"));
        if (kind == "video") {
            movie.videos.push_back(
                {stream.at("codec_tag_string"), stream.at("width"), stream.at("height"),
                 ParseFraction(stream.at("r_frame_rate")), ParseFraction(stream.at("time_base")),
                 stream.at("duration_ts"), stream.value("field_order", "unknown"),
                 stream.value("sample_aspect_ratio", "unknown"), std::move(packets)});
        } else if (kind == "audio") {
            const std::string number = std::to_string(movie.sounds.size());
            movie.sounds.push_back({stream.at("codec_name"), stream.at("channels"),
                                    std::stoi(stream.at("sample_rate").get<std::string>()),
                                    stream.at("duration_ts"), std::move(packets),
                                    Doubles(ReadFile(movie.path + "." + number + ".f64"))});
        }
    }
    return movie;
}

}  // namespace kvx_test

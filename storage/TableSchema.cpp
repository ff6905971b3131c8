#define LOG_TAG "TableSchema"

#include "storage/TableSchema.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include <log/log.h>

namespace orvan {
namespace {

constexpr const char* kTableNames[kTableTypeCount] = {
    "configuration", "ieq_presets", "geq_presets", "profiles",
    "profile_endpoints", "tunings", "device_tunings",
};

// The columns each table is created with, indexed by TableType.
constexpr const char* kColumns[kTableTypeCount] = {
    "_id INTEGER, key TEXT, value TEXT",

    "_id INTEGER, custom_name TEXT, preset_type TEXT, ieq_frequency TEXT, ieq_target TEXT",

    "_id INTEGER, custom_name TEXT, profile_id TEXT, geq_frequency TEXT, geq_gain TEXT",

    "_id INTEGER, custom_name TEXT, profile_id TEXT, name TEXT, is_mobility TEXT, "
    "selected_geq_preset_id TEXT, custom_drc_metadata TEXT, "
    "mi_adaptive_virtualizer_steering_enable TEXT, mi_dv_leveler_steering_enable TEXT, "
    "mi_ieq_steering_enable TEXT, mi_surround_compressor_steering_enable TEXT, "
    "reverb_suppression_amount TEXT, reverb_suppression_enable TEXT, volume_modeler_enable TEXT",

    "_id INTEGER, custom_name TEXT, profile_id TEXT, endpoint TEXT, selected_ieq_preset_type TEXT, "
    "bass_enhancer_enable TEXT, calibration_boost TEXT, dialog_enhancer_amount TEXT, "
    "dialog_enhancer_ducking TEXT, dialog_enhancer_enable TEXT, graphic_equalizer_enable TEXT, "
    "headphone_virtualizer_steerer_source_distance TEXT, "
    "hearing_protection_attenuation_attack_time TEXT, "
    "hearing_protection_attenuation_release_time TEXT, hearing_protection_enable TEXT, "
    "hearing_protection_rms_attenuation_target TEXT, "
    "hearing_protection_rms_averaging_time_win_len TEXT, ieq_amount TEXT, ieq_enable TEXT, "
    "mi_virtualizer_binaural_steering_enable TEXT, peak_value TEXT, surround_boost TEXT, "
    "surround_decoder_enable TEXT, virtual_bass_enable TEXT, virtualizer_enable TEXT, "
    "virtualizer_start_band TEXT, volmax_boost TEXT, volume_leveler_amount TEXT, "
    "volume_leveler_enable TEXT, volume_leveler_in_target TEXT, volume_leveler_out_target TEXT",

    "_id INTEGER, custom_name TEXT, name TEXT, endpoint TEXT, is_mono TEXT, is_readonly TEXT, "
    "audio_optimizer_enable TEXT, audio_optimizer_frequency TEXT, audio_optimizer_gain_l TEXT, "
    "audio_optimizer_gain_ls TEXT, audio_optimizer_gain_r TEXT, audio_optimizer_gain_rs TEXT, "
    "bass_enhancer_boost TEXT, bass_enhancer_cutoff_frequency TEXT, bass_enhancer_width TEXT, "
    "bass_extraction_cutoff_frequency TEXT, bass_extraction_enable TEXT, bass_mbdrc_enable TEXT, "
    "bass_mbdrc_tuning TEXT, complex_equalizer_enable TEXT, complex_equalizer_tuning_left TEXT, "
    "complex_equalizer_tuning_left_surround TEXT, complex_equalizer_tuning_right TEXT, "
    "complex_equalizer_tuning_right_surround TEXT, height_filter_mode TEXT, orientation TEXT, "
    "output_channels TEXT, output_mix_matrix TEXT, regulator_distortion_slope TEXT, "
    "regulator_enable TEXT, regulator_frequency TEXT, regulator_isolated_band TEXT, "
    "regulator_overdrive TEXT, regulator_sibilance_suppress_amounts_left TEXT, "
    "regulator_sibilance_suppress_amounts_left_surround TEXT, "
    "regulator_sibilance_suppress_amounts_right TEXT, "
    "regulator_sibilance_suppress_amounts_right_surround TEXT, "
    "regulator_sibilance_suppress_enable TEXT, regulator_speaker_dist_enable TEXT, "
    "regulator_stress_amount TEXT, regulator_threshold_high TEXT, regulator_threshold_low TEXT, "
    "regulator_timbre_preservation TEXT, virtual_bass_blend_linear_gain TEXT, "
    "virtual_bass_compressor_tuning TEXT, virtual_bass_harmgains TEXT, virtual_bass_hybgains TEXT, "
    "virtual_bass_mix_frequency TEXT, virtual_bass_mix_freq_high TEXT, "
    "virtual_bass_mix_freq_low TEXT, virtual_bass_mode TEXT, virtual_bass_overall_gain TEXT, "
    "virtual_bass_rolloff_gain TEXT, virtual_bass_slope_gain TEXT, virtual_bass_src_freq_high TEXT, "
    "virtual_bass_src_freq_low TEXT, virtual_bass_subgains TEXT, "
    "virtualizer_front_speaker_angle TEXT, virtualizer_height_speaker_angle TEXT, "
    "virtualizer_surround_speaker_angle TEXT, volume_leveler_compressor_enable TEXT, "
    "volume_modeler_calibration TEXT",

    "_id INTEGER, custom_name TEXT, device TEXT, port TEXT, tuning_id TEXT",
};

// Keys of a record's text form that name a field column rather than a
// parameter column (parameter keys are their column names already).
struct FieldColumn {
    TableType table;
    const char* key;
    const char* column;
};
constexpr FieldColumn kFieldColumns[] = {
    {IEQ_PRESET, "type", "preset_type"},
    {GEQ_PRESET, "profileId", "profile_id"},
    {PROFILE, "profileId", "profile_id"},
    {PROFILE, "mobility", "is_mobility"},
    {PROFILE, "selectedGeqPreset", "selected_geq_preset_id"},
    {PROFILE_ENDPOINT, "profileId", "profile_id"},
    {PROFILE_ENDPOINT, "selectedIeqPreset", "selected_ieq_preset_type"},
    {TUNING, "mono", "is_mono"},
    {TUNING, "readonly", "is_readonly"},
    {DEVICE_TUNING, "tuning", "tuning_id"},
};

std::string columnForKey(TableType table, const std::string& key) {
    for (const FieldColumn& field : kFieldColumns) {
        if (field.table == table && key == field.key) {
            return field.column;
        }
    }
    return key;
}

// The stored form of one value of a record's text form.
std::string storedValue(std::string value) {
    if (!value.empty() && value.back() == ',') {
        value.pop_back();
    }
    if (value == "true") {
        return "1";
    }
    if (value == "false") {
        return "0";
    }
    return value;
}

}  // namespace

const TableSchema& TableSchema::instance() {
    static const TableSchema schema;
    return schema;
}

TableSchema::TableSchema() {
    for (size_t i = 0; i < kTableTypeCount; ++i) {
        std::map<std::string, size_t> columnIndexes;
        // Each ", "-separated item of the column list starts with the column's name.
        const std::string columns = kColumns[i];
        for (size_t start = 0; start < columns.size();) {
            size_t end = columns.find(',', start);
            if (end == std::string::npos) {
                end = columns.size();
            }
            const size_t nameStart = columns.find_first_not_of(' ', start);
            const size_t nameEnd = std::min(columns.find(' ', nameStart), end);
            const std::string name = columns.substr(nameStart, nameEnd - nameStart);
            start = end + 1;
            if (name != "_id" && name != "custom_name") {
                columnIndexes.emplace(name, mValueColumns[i].size());
                mValueColumns[i].push_back(name);
            }
        }
        mKeyIndexes[i].insert(columnIndexes.begin(), columnIndexes.end());
        for (const FieldColumn& field : kFieldColumns) {
            if (field.table == static_cast<TableType>(i)) {
                const auto column = columnIndexes.find(field.column);
                mKeyIndexes[i][field.key] = column != columnIndexes.end() ? column->second : kNoColumn;
            }
        }
    }
}

std::string TableSchema::tableName(TableType type) {
    if (type < 0 || static_cast<size_t>(type) >= kTableTypeCount) {
        return "";
    }
    return kTableNames[type];
}

std::string TableSchema::columnList(TableType type) {
    std::string columns;
    if (type >= 0 && static_cast<size_t>(type) < kTableTypeCount) {
        columns = kColumns[type];
    }
    return " (" + columns + ")";
}

const std::string& TableSchema::createStatement(TableType type) {
    // Every start compares the stored schema with these.
    static const std::array<std::string, kTableTypeCount + 1> kStatements = [] {
        std::array<std::string, kTableTypeCount + 1> statements;
        for (size_t i = 0; i < statements.size(); ++i) {
            statements[i] = "CREATE TABLE " + tableName(static_cast<TableType>(i)) + columnList(static_cast<TableType>(i));
        }
        return statements;
    }();
    const bool known = type >= 0 && static_cast<size_t>(type) < kTableTypeCount;
    return kStatements[known ? static_cast<size_t>(type) : kTableTypeCount];
}

std::vector<std::string> TableSchema::tableNames() {
    return std::vector<std::string>(std::begin(kTableNames), std::end(kTableNames));
}

bool TableSchema::findTable(const std::string& table, TableType* type) {
    for (size_t i = 0; i < kTableTypeCount; ++i) {
        if (table == kTableNames[i]) {
            *type = static_cast<TableType>(i);
            return true;
        }
    }
    return false;
}

std::vector<std::string> TableSchema::valuesByColumn(TableType type, const std::string& text) const {
    const std::string table = tableName(type);
    // The lines after the first, as getline splits them; a later line for a
    // column wins. Read without streams: a rebuild inserts every record so.
    std::vector<std::string> byColumn(mValueColumns[type].size());
    size_t lineStart = 0;
    for (size_t line = 0; lineStart < text.size(); ++line) {
        size_t lineEnd = text.find('\n', lineStart);
        if (lineEnd == std::string::npos) {
            lineEnd = text.size();
        }
        const size_t begin = lineStart;
        lineStart = lineEnd + 1;
        if (line == 0) {
            continue;
        }
        const size_t eq = text.find('=', begin);
        if (eq == std::string::npos || eq >= lineEnd) {
            ALOGE("invalid string value");
            ALOGE("line \"%s\" for %s has no key, dropped", text.substr(begin, lineEnd - begin).c_str(),
                  table.c_str());
            continue;
        }
        std::string value;
        if (eq + 1 == lineEnd) {
            ALOGE("null expetion value paramStr: %s", text.substr(begin, lineEnd - begin).c_str());
        } else {
            value = text.substr(eq + 1, lineEnd - eq - 1);
        }
        const std::string_view key(text.data() + begin, eq - begin);
        const auto index = mKeyIndexes[type].find(key);
        if (index == mKeyIndexes[type].end() || index->second == kNoColumn) {
            ALOGE("%s is no column of %s, value dropped", columnForKey(type, std::string(key)).c_str(),
                  table.c_str());
            continue;
        }
        byColumn[index->second] = storedValue(std::move(value));
    }
    return byColumn;
}

void string2IntVector(const std::string& text, Values& values) {
    // Reads as `stream >> int32_t` does in the classic locale (skipped white
    // space, an optional sign, decimal digits, nothing pushed on overflow),
    // without a stream: the load runs this for every stored cell. Numbers
    // gather on the stack first, so that the list grows once per batch.
    constexpr size_t kBatch = 64;
    int32_t batch[kBatch];
    size_t held = 0;
    const auto flush = [&] {
        values.append(batch, held);
        held = 0;
    };
    const char* next = text.data();
    const char* const end = next + text.size();
    const auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    for (;;) {
        while (next != end && isSpace(*next)) {
            ++next;
        }
        const bool negative = next != end && *next == '-';
        if (next != end && (*next == '-' || *next == '+')) {
            ++next;
        }
        if (next == end || !isDigit(*next)) {
            break;
        }
        const int64_t limit = negative ? -static_cast<int64_t>(INT32_MIN) : INT32_MAX;
        int64_t magnitude = 0;
        for (; next != end && isDigit(*next); ++next) {
            magnitude = magnitude * 10 + (*next - '0');
            if (magnitude > limit) {
                flush();
                return;
            }
        }
        if (held == kBatch) {
            flush();
        }
        batch[held++] = static_cast<int32_t>(negative ? -magnitude : magnitude);
        if (next != end && (*next == ',' || *next == ' ')) {
            ++next;
        }
    }
    flush();
}

}  // namespace orvan

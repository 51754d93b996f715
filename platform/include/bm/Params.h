// Rows and tables: the numbered parameters that a host and its adaptors exchange.
//
// Threads: these objects have no locks. An object belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace BM_ADAPTOR {

/// Value type of a parameter. The numbers are the host protocol's.
enum BMIParamType_e {
    BMI_PARAM_BOOL = 0,
    BMI_PARAM_INT = 1,
    BMI_PARAM_UINT = 2, ///< a second integer type; its value is read and written with SetInt and GetInt
    BMI_PARAM_STRING = 4
};

/// One numbered value. Reading it as a type other than the one that was set gives that type's zero.
class CBMIParam {
public:
    /// @param type  which of the values below the parameter holds
    /// @param id    the parameter's number, counted from that of its group (0x303 in group 0x300)
    /// @param key   true for a column that selects the row (a bay, a port number)
    CBMIParam(BMIParamType_e type, unsigned id, bool key);

    BMIParamType_e GetType() const;
    unsigned GetId() const;
    bool IsKey() const;

    void SetBool(bool value);
    bool GetBool() const;
    void SetInt(int32_t value);
    int32_t GetInt() const;
    /// The hardware's bytes, in no particular encoding.
    void SetString(const std::string& value);
    const std::string& GetString() const;

private:
    BMIParamType_e m_Type;
    unsigned m_Id;
    bool m_Key;
    bool m_Bool = false;
    int32_t m_Int = 0;
    std::string m_String;
};

/// A row: parameters in the order in which they were added. Copies are deep.
class CBMIParams {
public:
    CBMIParams() = default;
    CBMIParams(const CBMIParams& other);
    CBMIParams& operator=(const CBMIParams& other);
    CBMIParams(CBMIParams&&) noexcept = default;
    CBMIParams& operator=(CBMIParams&&) noexcept = default;
    virtual ~CBMIParams() = default;

    /// Takes ownership of a parameter made with `new`; null is ignored.
    void Add(CBMIParam* param);
    /// Adds a copy.
    void Add(const CBMIParam& param);

    /// The first parameter with this id, or null. The row keeps it.
    CBMIParam* GetParamById(unsigned id) const;
    /// Copies the row's parameter of the same id into `param`. False, with `param` unchanged, when the row has none.
    bool GetParam(CBMIParam& param) const;

    int GetSize() const;
    /// Parameter `index`, counted from 0, or null outside 0..GetSize()-1. The row keeps it.
    CBMIParam* Get(int index) const;

private:
    std::vector<std::unique_ptr<CBMIParam>> m_Params;
};

/// The key set that selects a row.
class CBMIKeys : public CBMIParams {};

/// The parameters that an event carries.
class CBMIEvParams : public CBMIParams {};

/// An ordered list of rows. Copies are deep.
class CBMITable {
public:
    CBMITable() = default;
    CBMITable(const CBMITable& other);
    CBMITable& operator=(const CBMITable& other);
    CBMITable(CBMITable&&) noexcept = default;
    CBMITable& operator=(CBMITable&&) noexcept = default;
    ~CBMITable() = default;

    /// Both append a copy: the caller still owns its row. A null row is ignored.
    void AddRow(CBMIParams* row);
    void AddRow(CBMIParams& row);

    int GetSize() const;
    /// Row `index`, counted from 0, or null outside 0..GetSize()-1. The table keeps it.
    CBMIParams* Get(int index) const;

private:
    std::vector<std::unique_ptr<CBMIParams>> m_Rows;
};

} // namespace BM_ADAPTOR

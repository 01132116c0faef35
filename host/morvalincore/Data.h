#pragma once

#include <optional>
#include <string>

#include <Eigen/Core>

#include <morvalincore/Export.h>

namespace Morvalin {

/// 4×4 homogeneous transform, column by column, millimetres.
using Matrix4 = Eigen::Matrix4d;

/// Axis-aligned box in millimetres.
struct Bounds {
    Eigen::Vector3d minimum = Eigen::Vector3d::Zero();
    Eigen::Vector3d maximum = Eigen::Vector3d::Zero();
};

/// Base of everything that algorithms and streams hand to each other. The defaults describe data
/// without a place in space.
class MORVALINCORE_EXPORT Data {
public:
    enum class MatrixConvention { FromWorld, ToWorld };

    virtual ~Data();
    virtual std::string kind() const;
    virtual std::string modality() const;
    virtual MatrixConvention matrixConvention() const;
    virtual void setMatrixFromWorld(const Matrix4& matrix);
    virtual void setMatrixToWorld(const Matrix4& matrix);
    virtual Matrix4 matrixFromWorld() const;
    virtual Matrix4 matrixToWorld() const;
    virtual Matrix4 matrix() const;
    virtual void setMatrix(const Matrix4& matrix);
    virtual bool isAnnotationType() const;
    /// Nothing for data without extent.
    virtual std::optional<Bounds> bounds() const;
    /// One line for people.
    virtual std::string describe() const;

protected:
    Data() = default;
    Data(const Data&) = default;
    Data& operator=(const Data&) = default;
};

} // namespace Morvalin

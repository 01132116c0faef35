#include <morvalincore/Data.h>

namespace Morvalin {

Data::~Data() = default;

std::string Data::kind() const {
    return "Data";
}
std::string Data::modality() const {
    return {};
}
Data::MatrixConvention Data::matrixConvention() const {
    return MatrixConvention::FromWorld;
}
void Data::setMatrixFromWorld(const Matrix4&) {}
void Data::setMatrixToWorld(const Matrix4&) {}
Matrix4 Data::matrixFromWorld() const {
    return Matrix4::Identity();
}
Matrix4 Data::matrixToWorld() const {
    return Matrix4::Identity();
}
Matrix4 Data::matrix() const {
    return Matrix4::Identity();
}
void Data::setMatrix(const Matrix4&) {}
bool Data::isAnnotationType() const {
    return false;
}
std::optional<Bounds> Data::bounds() const {
    return std::nullopt;
}
std::string Data::describe() const {
    return kind();
}

} // namespace Morvalin

#pragma once

#include <cstdint>

#include <QDialog>
#include <QFileInfo>

class QLineEdit;
class QSpinBox;

namespace Morvalin {

/// Asks for a tool definition file and the physical port that its tool is plugged into. Modal; used
/// for wired tools, which are matched to their files by port.
///
/// Nothing is checked, and file and port can be read however the dialog was left.
class ROMLoadingDialog : public QDialog {
    Q_OBJECT

public:
    explicit ROMLoadingDialog(QWidget* parent = nullptr);

    /// What stands in the file field, chosen or typed.
    QFileInfo file() const;
    /// 1 to 16.
    std::int32_t port() const;

private:
    void chooseFile();

    QLineEdit* const fileField;
    QSpinBox* const portBox;
};

} // namespace Morvalin

#include "gui/ROMLoadingDialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <morvalingui/QtHelpers.h>

namespace Morvalin {

namespace {

constexpr int firstPort = 1;
constexpr int lastPort = 16;
constexpr int fileFieldCharacters = 45;

QHBoxLayout* labelledRow(const QString& text, QWidget* field) {
    auto* const label = new QLabel(text);
    label->setBuddy(field);
    auto* const row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(field, 1);
    return row;
}

} // namespace

ROMLoadingDialog::ROMLoadingDialog(QWidget* parent) :
    QDialog(parent), fileField(new QLineEdit(this)), portBox(new QSpinBox(this)) {
    setWindowTitle(QStringLiteral("Load Geometry from ROM file"));

    fileField->setMinimumWidth(fontMetrics().averageCharWidth() * fileFieldCharacters);
    auto* const chooseButton = new QPushButton(QStringLiteral("..."), this);
    // Else Return in the file field would open the file dialog.
    chooseButton->setAutoDefault(false);
    QHBoxLayout* const fileRow = labelledRow(QStringLiteral("ROM Geometry File:"), fileField);
    fileRow->addWidget(chooseButton);
    connect(chooseButton, &QPushButton::clicked, this, &ROMLoadingDialog::chooseFile);

    portBox->setRange(firstPort, lastPort);
    portBox->setValue(firstPort);

    auto* const okButton = new QPushButton(QStringLiteral("OK"), this);
    auto* const buttonRow = new QHBoxLayout;
    buttonRow->addWidget(okButton);
    buttonRow->addStretch();
    connect(okButton, &QPushButton::clicked, this, &QDialog::accept);

    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(fileRow);
    layout->addLayout(labelledRow(QStringLiteral("Port:"), portBox));
    layout->addLayout(buttonRow);
}

QFileInfo ROMLoadingDialog::file() const {
    return QFileInfo(fileField->text());
}

std::int32_t ROMLoadingDialog::port() const {
    return portBox->value();
}

void ROMLoadingDialog::chooseFile() {
    const QPointer<ROMLoadingDialog> self(this);
    const QString chosen = QtHelpers::getOpenFilename(
        this, tr("Tracker"), tr("Select Geometry file"), tr("Geometry files (*.rom)"), nullptr, {});
    if (!self.isNull())
        fileField->setText(chosen);
}

} // namespace Morvalin

#pragma once

class QLineEdit;

/// Sizes a line edit to its text and font, keeping its top-left corner, as a label would size itself.
void sizeToFit(QLineEdit* field);

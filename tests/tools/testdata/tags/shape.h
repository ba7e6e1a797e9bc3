#pragma once

namespace geometry {

class Shape
{
public:
    explicit Shape(int sides);
    int sides() const;

private:
    int clamp(int value) const;
    int _sides;
};

} // namespace geometry

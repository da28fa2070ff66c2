module example.invalid/qex

go 1.19

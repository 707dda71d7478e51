"""The demos: one phone, one Mac, one bystander, and what can be seen of a bridge. Run by script/demo."""

"""The demo: one phone, one Mac, one bystander, twelve things to see. Run by script/demo."""
